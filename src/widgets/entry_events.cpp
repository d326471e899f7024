#include "widgets/entry_events.h"

namespace vnxtest {

wxDEFINE_EVENT(EVT_IP_ADDRESS_CHANGED, wxCommandEvent);
wxDEFINE_EVENT(EVT_NUMBER_CHANGED, wxCommandEvent);

} // namespace vnxtest
