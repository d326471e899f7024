#include "netlink/conversation.h"

#include <array>
#include <cerrno>
#include <cstring>

#include <netlink/errno.h>
#include <sys/socket.h>

namespace vnxtest {

namespace {

// The errno value of a failure on this side of the socket. A refusal of the kernel's carries its own.
int ErrnoOf(int result) {
    switch (-result) {
    case NLE_INTR:
    case NLE_DUMP_INTR:
        return EINTR;
    case NLE_BAD_SOCK:
        return EBADF;
    case NLE_AGAIN:
        return EAGAIN;
    case NLE_NOMEM:
        return ENOMEM;
    case NLE_INVAL:
        return EINVAL;
    case NLE_AF_NOSUPPORT:
        return EAFNOSUPPORT;
    case NLE_PERM:
    case NLE_NOACCESS:
        return EPERM;
    default:
        return EIO;
    }
}

void VisitObject(nl_object* object, void* visit) {
    (*static_cast<const ObjectVisitor*>(visit))(object);
}

int TakeMessage(nl_msg* message, void* visit) {
    nl_msg_parse(message, VisitObject, visit);
    return NL_OK;
}

// Takes the kernel's errno value itself: libnl's translation maps several to one.
int TakeRefusal(sockaddr_nl*, nlmsgerr* refusal, void* code) {
    *static_cast<int*>(code) = -refusal->error;
    return NL_STOP;
}

template <typename Value>
Value ToValue(const nl_addr* address, int family) {
    auto bytes = Value().Bytes();
    const bool fits = address != nullptr && (family == AF_UNSPEC || nl_addr_get_family(address) == family) &&
                      nl_addr_get_len(address) == bytes.size();
    if (fits) {
        std::memcpy(bytes.data(), nl_addr_get_binary_addr(address), bytes.size());
    }
    return Value(bytes);
}

} // namespace

Result<void> Ask(std::wstring_view call, nl_msg* request, const ObjectVisitor& visit) {
    const auto failed = [&](int code) { return FailedCall(call, static_cast<std::uint32_t>(code)); };
    const NetlinkOwner<nl_sock> socket(nl_socket_alloc());
    if (socket == nullptr || request == nullptr) {
        return failed(ENOMEM);
    }
    int result = nl_connect(socket.get(), NETLINK_ROUTE);
    if (result < 0) {
        return failed(ErrnoOf(result));
    }
    int refusal = 0;
    nl_socket_modify_cb(socket.get(), NL_CB_VALID, NL_CB_CUSTOM, TakeMessage,
                        const_cast<ObjectVisitor*>(&visit));
    nl_socket_modify_err_cb(socket.get(), NL_CB_CUSTOM, TakeRefusal, &refusal);
    nl_complete_msg(socket.get(), request);
    result = nl_sendto(socket.get(), nlmsg_hdr(request), nlmsg_hdr(request)->nlmsg_len);
    if (result >= 0) {
        result = nl_recvmsgs_default(socket.get());
    }
    if (refusal != 0 || result < 0) {
        return failed(refusal != 0 ? refusal : ErrnoOf(result));
    }
    return {};
}

Ipv4Address ToIpv4(const nl_addr* address) {
    return ToValue<Ipv4Address>(address, AF_INET);
}

MacAddress ToMac(const nl_addr* address) {
    return ToValue<MacAddress>(address, AF_UNSPEC);
}

} // namespace vnxtest
