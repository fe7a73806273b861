#include "owner_change.h"

#include "motion_bus.h"

namespace Tarvo::Tools::Bus {

bool ReadOwnerChange(sdbus::Message& message, OwnerChange& change)
{
    if (message.getSender() != kDBusName || message.getMemberName() != "NameOwnerChanged") {
        return false;
    }
    try {
        message >> change.name >> change.oldOwner >> change.newOwner;
        return true;
    } catch (const sdbus::Error&) {
        return false;
    }
}

bool ClientGone(sdbus::Message& message, std::string& name)
{
    OwnerChange change;
    if (!ReadOwnerChange(message, change) || !change.newOwner.empty() || change.name.empty() ||
        change.name[0] != ':') {
        return false;
    }
    name = change.name;
    return true;
}

}  // namespace Tarvo::Tools::Bus
