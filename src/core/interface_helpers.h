// The interface configuration helpers: one textual setting becomes one library request.
//
// Each validates its texts, reports a numbered message on bad input, fills a request record and issues it.
// They return the library's result (0 is success), or -1 if the validation failed, with the last error and
// errno for "invalid argument". A library failure is not reported here. `name` and the values may be null,
// which is reported as "NULL". Any thread.
#pragma once

#include <cstdint>

#include "core/interface_info.h"
#include "vnetx/library.h"

namespace vnxtest {

std::int32_t VNETX_SetIPAddr(VnetxLibrary& library, std::int32_t handle, const wchar_t* name,
                             const wchar_t* value);
std::int32_t VNETX_SetDestAddr(VnetxLibrary& library, std::int32_t handle, const wchar_t* name,
                               const wchar_t* value);
std::int32_t VNETX_SetNetMask(VnetxLibrary& library, std::int32_t handle, const wchar_t* name,
                              const wchar_t* value);
std::int32_t VNETX_SetBcastAddr(VnetxLibrary& library, std::int32_t handle, const wchar_t* name,
                                const wchar_t* value);
// `value` is decimal text; 46 to 65536 bytes.
std::int32_t VNETX_SetMTU(VnetxLibrary& library, std::int32_t handle, const wchar_t* name,
                          const wchar_t* value);
std::int32_t VNETX_SetMACAddr(VnetxLibrary& library, std::int32_t handle, const wchar_t* name,
                              const wchar_t* value);
std::int32_t VNETX_SetFlags(VnetxLibrary& library, std::int32_t handle, const wchar_t* name,
                            std::uint32_t flags);

// Reads the interface's MAC address into the record's guest MAC, or its adapter's IPv4 address into the
// record's adapter IP and its text. The interface is the open `handle` under the record's name. False on
// failure, which is reported; errno and the last error are then those of the failure.
bool GetInterfaceMACAddr(VnetxLibrary& library, std::int32_t handle, INTERFACE_INFO& info);
bool GetAdapterIPAddr(VnetxLibrary& library, std::int32_t handle, INTERFACE_INFO& info);

// The MAC address that the library makes of a guest's IP address.
MacAddress GuestMacOf(VnetxLibrary& library, Ipv4Address guest);

// Copies at most 15 characters of `name`, narrow, into the record's name field and ends it.
void SetRequestName(VnetxInterfaceRequest& request, const wchar_t* name);

} // namespace vnxtest
