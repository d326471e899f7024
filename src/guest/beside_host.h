// A guest that would pass itself off as its host: the question before such a start.
//
// The helper of an ordinary user refuses such a guest; who may open an adapter himself is warned.
#pragma once

#include <optional>

#include "core/interface_info.h"
#include "guest/front_end.h"
#include "hostnet/host_network.h"

namespace vnxtest {

// The question about the guest of `info`, whose binary addresses are filled; nullopt if there is none to ask.
// That the guest is outside the adapter's subnet is asked elsewhere.
std::optional<ProceedQuestion> QuestionBesideHost(const INTERFACE_INFO& info, const HostNetwork& host);

} // namespace vnxtest
