// The question before the start of a guest with an address of its host.
//
// Every user is asked; if the helper has to open the adapter it refuses such a guest all the same.
#pragma once

#include <optional>

#include "core/interface_addresses.h"
#include "guest/front_end.h"
#include "hostnet/host_network.h"

namespace vnxtest {

// The question about a guest with these addresses, which are prepared; nullopt if there is none to ask.
// A guest outside the adapter's subnet is another question (pre_start_questions.h). User-interface thread.
std::optional<ProceedQuestion> QuestionBesideHost(const InterfaceAddresses& guest, const HostNetwork& host);

} // namespace vnxtest
