#include "helpui/control_numbers.h"

#include <wx/stattext.h>
#include <wx/toplevel.h>

#include "helpui/help_table.h"
#include "helpui/standard_help.h"

namespace vnxtest {

namespace {

// The number of a control by its window id; 0 if it has none. Ids that the toolkit made up are negative.
int NumberOfId(int id) {
    switch (id) {
    case wxID_OK:
        return standard_button::kOk;
    case wxID_CANCEL:
        return standard_button::kCancel;
    case wxID_HELP:
        return standard_button::kHelp;
    case wxID_APPLY:
        return standard_button::kApply;
    case wxID_FORWARD:
        return standard_button::kNext;
    case wxID_BACKWARD:
        return standard_button::kBack;
    default:
        return id > 0 && id <= kMaximumControlId ? id : 0;
    }
}

bool IsLabel(const wxWindow& window) {
    return dynamic_cast<const wxStaticText*>(&window) != nullptr && window.GetLabel().EndsWith(":");
}

// The control that a label names: the one created after it.
const wxWindow* NamedControl(const wxWindow& label) {
    const wxWindow* next = label.GetNextSibling();
    while (next != nullptr && dynamic_cast<const wxStaticText*>(next) != nullptr) {
        next = next->GetNextSibling();
    }
    return next;
}

} // namespace

void ControlNumbers::Assign(wxWindow& control, int number) {
    m_assigned[&control] = number;
    // Bound to this object, so that the binding ends with it: a window's children outlive its help.
    control.Bind(wxEVT_DESTROY, &ControlNumbers::OnAssignedGone, this);
}

void ControlNumbers::OnAssignedGone(wxWindowDestroyEvent& event) {
    m_assigned.erase(event.GetWindow());
    event.Skip();
}

int ControlNumbers::NumberOf(const wxWindow& control) const {
    const auto assigned = m_assigned.find(&control);
    return assigned != m_assigned.end() ? assigned->second : NumberOfId(control.GetId());
}

const wxWindow& ControlNumbers::AnsweringFor(const wxWindow& control) const {
    for (const wxWindow* candidate = &control; candidate != nullptr && candidate != &m_window;
         candidate = candidate->GetParent()) {
        if (NumberOf(*candidate) != 0) {
            return *candidate;
        }
        const wxWindow* named = IsLabel(*candidate) ? NamedControl(*candidate) : nullptr;
        // In a control made of others the first of them may have the number.
        while (named != nullptr && NumberOf(*named) == 0) {
            const wxWindowList& parts = named->GetChildren();
            named = parts.empty() ? nullptr : parts.front();
        }
        if (named != nullptr) {
            return *named;
        }
    }
    return m_window;
}

} // namespace vnxtest
