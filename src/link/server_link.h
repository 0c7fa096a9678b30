#pragma once

#include "link/client_link.h"

namespace sim {

// The simulator as the server: the listening loop, the one client it takes in and what that client
// sends. The loop listens again by itself whenever the socket is found closed, until Close.
class ServerLink {
public:
    ServerLink(Panel& panel, LogBook& log, Link& link, EventPump& pump, Dialogs& dialogs)
        : panel_(panel), log_(log), link_(link), pump_(pump), dialogs_(dialogs) {}

    // The listening branch of ConnectStart: 0 when the port box is empty, else no value once the
    // operator has ended listening.
    std::optional<int> listen();
    bool listening() const { return looping_; }
    static constexpr int kRetryPauseMs = 50;

    void ListenStart();
    int ServerListen();
    void Server_Socket_ConnectionRequest(std::int32_t requestId);
    void Server_Socket_Close();
    void Server_Socket_DataArrival(std::int32_t bytesTotal);

private:
    Panel& panel_;
    LogBook& log_;
    Link& link_;
    EventPump& pump_;
    Dialogs& dialogs_;
    bool looping_ = false;
};

} // namespace sim
