// One question to the kernel's route netlink and its answer (rtnetlink(7)), as libnl holds them. For the
// sources of this room: links.h and the other headers of the room give plain values.
//
// Requests go out by sendto, since a running guest has no sendmsg (platform/process/sandbox.h). A
// conversation has a socket of its own: any thread.
#pragma once

#include <cerrno>
#include <functional>
#include <memory>
#include <string_view>
#include <type_traits>
#include <vector>

#include <netlink/msg.h>
#include <netlink/netlink.h>
#include <netlink/route/addr.h>
#include <netlink/route/link.h>
#include <netlink/route/neighbour.h>
#include <netlink/route/netconf.h>
#include <netlink/route/route.h>

#include "wrenlib/address.h"
#include "wrenlib/failure.h"

namespace vnxtest {

struct NetlinkDeleter {
    void operator()(nl_sock* socket) const { nl_socket_free(socket); }
    void operator()(nl_msg* message) const { nlmsg_free(message); }
    void operator()(nl_addr* address) const { nl_addr_put(address); }
    void operator()(rtnl_link* link) const { rtnl_link_put(link); }
    void operator()(rtnl_addr* address) const { rtnl_addr_put(address); }
};
template <typename T>
using NetlinkOwner = std::unique_ptr<T, NetlinkDeleter>;

// A request with its family's header, ready for attributes; null without memory.
template <typename Header>
NetlinkOwner<nl_msg> MakeRequest(int type, int flags, Header header) {
    NetlinkOwner<nl_msg> request(nlmsg_alloc_simple(type, flags));
    if (request != nullptr && nlmsg_append(request.get(), &header, sizeof header, NLMSG_ALIGNTO) < 0) {
        request.reset();
    }
    return request;
}

// Takes one object of the answer, which lives as long as the call.
using ObjectVisitor = std::function<void(nl_object*)>;

// Sends `request`, of the type that `call` names, and hands what the kernel answers to `visit`. Fails with
// the kernel's errno value, or that of a failure on this side; ENOMEM if `request` is null. EINTR: the table
// changed during the dump, which may have gaps.
Result<void> Ask(std::wstring_view call, nl_msg* request, const ObjectVisitor& visit);

// Dumps a whole table, again if it changed meanwhile, at most eight times. `append` adds a row's value. Fails
// as Ask() does.
template <typename Row, typename Value, typename Header>
Result<std::vector<Value>> Dump(std::wstring_view call, int type, const Header& header,
                                void (*append)(std::type_identity_t<Row>*, std::vector<Value>&)) {
    constexpr int kAttempts = 8;
    for (int attempt = 1;; ++attempt) {
        std::vector<Value> values;
        auto asked = Ask(call, MakeRequest(type, NLM_F_DUMP, header).get(),
                         [&](nl_object* object) { append(reinterpret_cast<Row*>(object), values); });
        if (asked) {
            return values;
        }
        if (asked.error().errnoValue != EINTR || attempt == kAttempts) {
            return PassOn(asked);
        }
    }
}

// Zero if `address` is null or of another kind.
Ipv4Address ToIpv4(const nl_addr* address);
MacAddress ToMac(const nl_addr* address);

} // namespace vnxtest
