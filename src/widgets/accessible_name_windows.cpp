#include <wx/access.h>
#include <wx/window.h>

#include "widgets/accessible_name.h"
#include "widgets/make_child.h"

namespace vnxtest {

namespace {

class NamedAccessible final : public wxWindowAccessible {
public:
    NamedAccessible(wxWindow* window, wxString name) : wxWindowAccessible(window), m_name(std::move(name)) {}

    wxAccStatus GetName(int child, wxString* name) override {
        if (child != wxACC_SELF) {
            return wxWindowAccessible::GetName(child, name);
        }
        *name = m_name;
        return wxACC_OK;
    }

    void Rename(const wxString& name) {
        m_name = name;
        NotifyEvent(wxACC_EVENT_OBJECT_NAMECHANGE, GetWindow(), wxOBJID_CLIENT, wxACC_SELF);
    }

private:
    wxString m_name;
};

} // namespace

void SetAccessibleName(wxWindow& window, const wxString& name) {
    window.SetName(name);
    if (auto* const named = dynamic_cast<NamedAccessible*>(window.GetAccessible())) {
        named->Rename(name);
        return;
    }
    window.SetAccessible(MakeChild<NamedAccessible>(&window, name)); // the window owns it
}

} // namespace vnxtest
