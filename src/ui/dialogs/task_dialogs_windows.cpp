// The parent's handle comes from the toolkit; everything else is the system's own dialog.
#include <wx/msgdlg.h>
#include <wx/window.h>

#include <windows.h>

#include <commctrl.h>

#include <span>
#include <string>

#include "ui/dialogs/task_dialogs.h"
#include "wrenlib/product.h"

namespace vnxtest {

namespace {

// Common to both: a place over the window, and Cancel as the default.
TASKDIALOGCONFIG Configuration(wxWindow* parent, std::span<const TASKDIALOG_BUTTON> buttons) {
    TASKDIALOGCONFIG config = {};
    config.cbSize = sizeof(config);
    config.hwndParent = static_cast<HWND>(parent->GetHWND());
    config.dwFlags = TDF_POSITION_RELATIVE_TO_WINDOW;
    config.dwCommonButtons = TDCBF_CANCEL_BUTTON;
    config.cButtons = static_cast<UINT>(buttons.size());
    config.pButtons = buttons.data();
    config.nDefaultButton = kCancelButton;
    return config;
}

} // namespace

int ShowProceedTaskDialog(wxWindow* parent, const ProceedQuestion& question) {
    const std::wstring title(question.title);
    const std::wstring instruction(question.mainInstruction);
    const std::wstring content(question.content);
    const std::wstring information(question.expandedInformation);
    const TASKDIALOG_BUTTON proceed = {kProceedButton, L"&Proceed"};
    TASKDIALOGCONFIG config = Configuration(parent, {&proceed, 1});
    config.dwFlags |= TDF_EXPAND_FOOTER_AREA;
    config.pszWindowTitle = title.c_str();
    config.pszMainIcon = TD_WARNING_ICON;
    config.pszMainInstruction = instruction.c_str();
    config.pszContent = content.c_str();
    config.pszExpandedInformation = information.c_str();
    config.pszExpandedControlText = L"Less information";
    config.pszCollapsedControlText = L"More information";
    int button = kCancelButton;
    return SUCCEEDED(TaskDialogIndirect(&config, &button, nullptr, nullptr)) ? button : kCancelButton;
}

int ShowSaveTaskDialog(wxWindow* parent, const wxString& name) {
    const wxString title = kProductName;
    const wxString instruction = wxString::Format("Do you want to save changes to %s?", name);
    const TASKDIALOG_BUTTON buttons[] = {{kSaveButton, L"&Save"}, {kDontSaveButton, L"Do&n't Save"}};
    TASKDIALOGCONFIG config = Configuration(parent, buttons);
    config.pszWindowTitle = title.wc_str();
    config.pszMainInstruction = instruction.wc_str();
    int button = 0;
    return SUCCEEDED(TaskDialogIndirect(&config, &button, nullptr, nullptr)) ? button : 0;
}

bool ShowGatewayTaskDialog(wxWindow* parent, const wxString& instruction, const wxString& content,
                           const wxString& use, const wxString& fix) {
    // The toolkit's, which is the system's task dialog where there is one.
    wxMessageDialog question(parent, instruction, kProductName,
                             wxOK | wxCANCEL | wxCANCEL_DEFAULT | wxICON_WARNING | wxCENTRE);
    question.SetExtendedMessage(content);
    question.SetOKCancelLabels(use, fix);
    return question.ShowModal() == wxID_OK;
}

} // namespace vnxtest
