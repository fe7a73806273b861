#include "delivery_window.h"

namespace Tarvo::Motiond {

DeliveryWindow::Decision DeliveryWindow::Offer()
{
    Decision decision;
    if (Behind()) {
        ++dropped_;
    } else {
        ++sent_;
        decision.send = true;
    }
    // A ping after every kPingEvery motions; one that failed (a client frozen longer than
    // the call's timeout) is asked again at the next motion.
    if (!pingPending_ && sent_ - read_ >= kPingEvery) {
        pingPending_ = true;
        pingMark_ = sent_;
        decision.ping = true;
    }
    return decision;
}

void DeliveryWindow::Answered(bool read)
{
    pingPending_ = false;
    if (read) {
        read_ = pingMark_;
    }
}

uint64_t DeliveryWindow::TakeDropped()
{
    const uint64_t dropped = dropped_;
    dropped_ = 0;
    return dropped;
}

}  // namespace Tarvo::Motiond
