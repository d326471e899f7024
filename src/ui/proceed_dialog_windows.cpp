// The parent's handle comes from the toolkit; everything else is the system's own dialog.
#include <wx/window.h>

#include <windows.h>

#include <commctrl.h>

#include <string>

#include "ui/proceed_dialog.h"

namespace vnxtest {

int ShowProceedTaskDialog(wxWindow* parent, const ProceedQuestion& question) {
    const std::wstring title(question.title);
    const std::wstring instruction(question.mainInstruction);
    const std::wstring content(question.content);
    const std::wstring information(question.expandedInformation);
    const TASKDIALOG_BUTTON proceed = {kProceedButton, L"&Proceed"};

    TASKDIALOGCONFIG config = {};
    config.cbSize = sizeof(config);
    config.hwndParent = static_cast<HWND>(parent->GetHWND());
    config.dwFlags = TDF_EXPAND_FOOTER_AREA | TDF_POSITION_RELATIVE_TO_WINDOW;
    config.dwCommonButtons = TDCBF_CANCEL_BUTTON;
    config.pszWindowTitle = title.c_str();
    config.pszMainIcon = TD_WARNING_ICON;
    config.pszMainInstruction = instruction.c_str();
    config.pszContent = content.c_str();
    config.cButtons = 1;
    config.pButtons = &proceed;
    config.nDefaultButton = kCancelButton;
    config.pszExpandedInformation = information.c_str();
    config.pszExpandedControlText = L"Less information";
    config.pszCollapsedControlText = L"More information";
    int button = kCancelButton;
    return SUCCEEDED(TaskDialogIndirect(&config, &button, nullptr, nullptr)) ? button : kCancelButton;
}

} // namespace vnxtest
