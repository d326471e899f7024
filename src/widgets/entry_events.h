// The events that the entries of this room send to their parents.
#pragma once

#include <wx/event.h>

namespace vnxtest {

// Sent (as a wxCommandEvent, up the parents, with the control's id) after the user changed a field of an
// IpAddressCtrl. The functions that set the value send nothing.
wxDECLARE_EVENT(EVT_IP_ADDRESS_CHANGED, wxCommandEvent);

// Sent (as a wxCommandEvent, up the parents, with the edit's id) after the user changed the number of a
// NumberEntry.
wxDECLARE_EVENT(EVT_NUMBER_CHANGED, wxCommandEvent);

} // namespace vnxtest
