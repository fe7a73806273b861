// How far one client is behind with its messages. The bus daemon queues what the service
// sends a client until the client reads it; a client that never reads would have every
// motion queued for it. So the service asks it to answer a ping now and then: the answer
// comes only after the client has read everything sent before the ping. A client with
// kMaxUnread motions sent and not known to be read gets no more until it answers; what
// it misses is counted, for its next call to report.
#pragma once

#include <cstdint>

namespace Tarvo::Motiond {

class DeliveryWindow {
public:
    static constexpr uint64_t kPingEvery = 32;
    static constexpr uint64_t kMaxUnread = 512;

    struct Decision {
        bool send = false;  // send this motion
        bool ping = false;  // and then a ping, whose answer is to be passed to Answered
    };
    // For each motion meant for this client.
    Decision Offer();
    // The ping's answer came (`read`), or it failed or timed out.
    void Answered(bool read);

    // Motions not sent since the last call.
    uint64_t TakeDropped();
    // True while motions are being dropped.
    bool Behind() const { return sent_ - read_ >= kMaxUnread; }

private:
    uint64_t sent_ = 0;
    uint64_t read_ = 0;  // sent_ as it was at the last answered ping
    uint64_t pingMark_ = 0;
    bool pingPending_ = false;
    uint64_t dropped_ = 0;
};

}  // namespace Tarvo::Motiond
