#pragma once

#include "support/scenario.h"

namespace sim::test {

// The dial-out side set up for a repeat run: "Send Input Data && Receive" with Repeat, a gap in
// seconds, a count and a payload, as an operator types them.
struct RepeatRun : DeviceAsServer {
    explicit RepeatRun(const char* gap = "1", const char* count = "Endless", const char* payload = "tick") {
        sim.network.latency = 0; // a connect is accepted at the moment it is made
        op.click(p.opt_Send_Only);
        op.edited(p.com_Timegap, QString::fromLatin1(gap));
        op.edited(p.com_Count, QString::fromLatin1(count));
        p.txt_Data_Input.setText(QString::fromLatin1(payload));
    }

    SimSocket& client() const { return *sim.network.socketNamed(QStringLiteral("Client_Socket")); }
    // The virtual times of the sends on the dialling socket, from `from` on.
    std::vector<Ms> sendTimes(std::size_t from = 0) const {
        std::vector<Ms> times;
        for (std::size_t i = from; i < client().sent.size(); ++i) {
            times.push_back(client().sent[i].first);
        }
        return times;
    }
    // A device that answers each payload with the same bytes.
    void deviceEchoes() {
        sim.network.onLink = [](std::shared_ptr<DeviceLink> link) {
            link->onReceive = [weak = std::weak_ptr<DeviceLink>(link)](const Bytes& bytes) {
                weak.lock()->send(bytes);
            };
        };
    }
};

} // namespace sim::test
