// A conversation with the kernel's route netlink, as libnl holds one.
#pragma once

#include <memory>

#include <netlink/netlink.h>
#include <netlink/socket.h>

namespace vnxtest {

using RouteNetlink = std::unique_ptr<nl_sock, decltype(&nl_socket_free)>;

// Connected, or empty when the kernel refuses.
inline RouteNetlink ConnectRouteNetlink() {
    RouteNetlink socket(nl_socket_alloc(), nl_socket_free);
    if (socket && nl_connect(socket.get(), NETLINK_ROUTE) != 0) {
        socket.reset();
    }
    return socket;
}

} // namespace vnxtest
