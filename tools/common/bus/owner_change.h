// The bus daemon's NameOwnerChanged signal, read as a client or a service must read it:
// anyone may send a signal of that name and interface to anyone, so only the daemon's
// own counts (the daemon sets every message's sender), and arguments of other types are
// ignored rather than thrown at.
#pragma once

#include <sdbus-c++/sdbus-c++.h>

#include <string>

namespace Tarvo::Tools::Bus {

struct OwnerChange {
    std::string name;
    std::string oldOwner;
    std::string newOwner;
};

// False when `message` is not the daemon's own (name, old owner, new owner).
bool ReadOwnerChange(sdbus::Message& message, OwnerChange& change);
// True when the daemon says the connection `name` has left the bus.
bool ClientGone(sdbus::Message& message, std::string& name);

}  // namespace Tarvo::Tools::Bus
