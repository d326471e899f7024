// A host without network data, for tests of the engine alone; the real tables have tests of their own.
#pragma once

#include "hostnet/scripted_host.h"

namespace vnxtest {

class QuietTables : public ScriptedTables {
public:
    QuietTables() { parametersCode = routesCode = addressesCode = 50; } // not supported
};

using QuietAdapters = ScriptedWrenPack;

// The engine's host with one library and nothing else.
struct QuietHost {
    explicit QuietHost(VnetxLibrary& library) : network(SourcesOf(tables, adapters, library)) {}
    QuietTables tables;
    QuietAdapters adapters;
    HostNetwork network;
};

} // namespace vnxtest
