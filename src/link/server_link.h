#pragma once

#include "link/link.h"

namespace sim {

// What ServerListen gives: 1 when the socket listens, 0 when it does not.
enum class Listened { Failed = 0, Listening = 1 };

// The simulator as the server: the listening loop, the one client it takes in and what that client
// sends. The loop listens again by itself whenever the socket is found closed, until Close.
class ServerLink {
public:
    ServerLink(Panel& panel, LogBook& log, Link& link, EventPump& pump, Dialogs& dialogs)
        : panel_(panel), log_(log), link_(link), pump_(pump), dialogs_(dialogs) {}

    // The listening branch of ConnectStart: refused when the port box is empty, else over once the
    // operator has ended listening.
    Started listen();
    bool listening() const { return looping_; }
    static constexpr int kRetryPauseMs = 50;

    void ListenStart();
    Listened ServerListen();
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
