// The motion service's names on D-Bus, shared by the service and its clients. The
// interface is documented in org.quilmotion.Motion1.xml, installed under
// share/dbus-1/interfaces/.
#pragma once

namespace Tarvo::Tools::Bus {

inline constexpr const char* kBusName = "org.quilmotion.Motion1";
inline constexpr const char* kObjectPath = "/org/quilmotion/Motion1";
inline constexpr const char* kInterface = "org.quilmotion.Motion1";

inline constexpr const char* kClaim = "Claim";
inline constexpr const char* kRelease = "Release";
inline constexpr const char* kMotion = "Motion";
inline constexpr const char* kMotionSignature = "iiiiiid";
inline constexpr const char* kSupportedTypes = "SupportedTypes";
inline constexpr const char* kAvailableTypes = "AvailableTypes";
inline constexpr const char* kVersion = "Version";

// The service's own errors.
inline constexpr const char* kErrorUnsupportedType = "org.quilmotion.Motion1.Error.UnsupportedType";
inline constexpr const char* kErrorUnavailable = "org.quilmotion.Motion1.Error.Unavailable";
inline constexpr const char* kErrorNotClaimed = "org.quilmotion.Motion1.Error.NotClaimed";
inline constexpr const char* kErrorAccessDenied = "org.quilmotion.Motion1.Error.AccessDenied";
inline constexpr const char* kErrorLimitsExceeded = "org.quilmotion.Motion1.Error.LimitsExceeded";
inline constexpr const char* kErrorFailed = "org.quilmotion.Motion1.Error.Failed";

// The bus itself.
inline constexpr const char* kDBusName = "org.freedesktop.DBus";
inline constexpr const char* kDBusPath = "/org/freedesktop/DBus";
inline constexpr const char* kDBusInterface = "org.freedesktop.DBus";
inline constexpr const char* kPropertiesInterface = "org.freedesktop.DBus.Properties";
inline constexpr const char* kPeerInterface = "org.freedesktop.DBus.Peer";

}  // namespace Tarvo::Tools::Bus
