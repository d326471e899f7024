#include "ui/session.h"

#include "core/output_channel.h"
#include "hostnet/report.h"
#include "hostnet/sim_host.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

bool NamesSimulatedLan(std::wstring_view library) {
    return EqualNoCase(library.substr(0, library.find(L':')), L"sim");
}

} // namespace

Session::~Session() {
    EndGuest();
    if (m_library) {
        m_library->SetDebugOutputFunc(nullptr);
    }
    UnregisterDebugOutput();
}

bool Session::Open(Profile& profile, const std::wstring& libraryName, std::wstring& error) {
    m_library = OpenVnetxLibrary(libraryName, error);
    if (!m_library) {
        return false;
    }
    m_tables = MakeHostTables();
    m_adapters = MakeWrenPackLibrary();
    if (NamesSimulatedLan(libraryName)) {
        m_simulatedTables = std::make_unique<SimHostTables>(*m_tables);
        m_simulatedAdapters = std::make_unique<SimWrenPack>(*m_adapters);
        m_host.emplace(HostSources{*m_simulatedTables, *m_simulatedAdapters}, *m_library);
    } else {
        m_host.emplace(HostSources{*m_tables, *m_adapters}, *m_library);
    }
    m_settings.emplace(profile);
    return true;
}

void Session::MakeGuest(FrontEnd& frontEnd) {
    m_guest.emplace(*m_library, *m_host, *m_settings, frontEnd);
    m_guest->Ping().KeepRecords(true);
}

void Session::GatherHost() {
    m_host->InitGlobals();
    WriteStartupReport(*m_host, ReportContext());
}

void Session::EndGuest() {
    m_guest.reset();
}

} // namespace vnxtest
