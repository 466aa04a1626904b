// SPDX-License-Identifier: Apache-2.0
//
// wire.h: what both ends of the socket must agree on beyond the signatures that the service
// publishes by introspection. A request travels as a D-Bus method call to one object over a direct
// connection: no bus daemon stands between. A request that cannot be answered comes back as one of
// the errors named here (or as one of D-Bus's own for a malformed call), never as invented data.
#ifndef VARN_DEVICE_WIRE_H
#define VARN_DEVICE_WIRE_H

#include <cstdint>

namespace wire
{

inline constexpr char default_socket[] = "/run/varn/deviced.sock";
inline constexpr char object_path[] = "/varn/device";
inline constexpr char interface_name[] = "varn.Device1";

inline constexpr char no_such_interface[] = "varn.Device1.Error.NoSuchInterface";
inline constexpr char no_such_value[] = "varn.Device1.Error.NoSuchValue";  // the interface has none
inline constexpr char bad_change[] = "varn.Device1.Error.BadChange";       // nothing was changed
inline constexpr char not_allowed[] = "varn.Device1.Error.NotAllowed";     // not on this device
inline constexpr char not_permitted[] = "varn.Device1.Error.NotPermitted"; // not for this peer

// The one virtual device instance that this device has. It is part of an SVI's if-index.
inline constexpr std::uint16_t vinst = 1;

} // namespace wire

#endif
