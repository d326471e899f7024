#include "ui/frame/menus.h"

#include <array>
#include <span>

namespace vnxtest {

namespace {

struct Item {
    Command command{}; // 0: a separator
    const char* label = "";
    const char* prompt = "";
    wxItemKind kind = wxITEM_NORMAL;
};

constexpr Item kSeparator{};

constexpr std::array kFileItems = {
    Item{kCmdSave, "&Save\tCtrl+S", "Save the active document"},
    kSeparator,
    Item{kCmdExit, "E&xit", "Quit the application; prompts to save documents"},
};

constexpr std::array kEditItems = {
    Item{kCmdCopy, "&Copy\tCtrl+C", "Copy the selection and put it on the Clipboard"},
    kSeparator,
    Item{kCmdSelectAll, "Select &All\tCtrl+A", "Select the entire document"},
    kSeparator,
    Item{kCmdFind, "&Find...\tCtrl+F", "Find the specified text"},
    Item{kCmdFindNext, "F&ind Next\tF3", "Find the next occurrence of the specified text"},
};

constexpr std::array kViewItems = {
    Item{kCmdShowPingChart, "Ping &chart", "Show or hide the chart of the ping test", wxITEM_CHECK},
    Item{kCmdCopyChart, "Cop&y chart as picture\tCtrl+Shift+C",
         "Put a picture of the chart on the Clipboard"},
    Item{kCmdSaveChart, "Sa&ve chart as...\tCtrl+Shift+S",
         "Save the chart as a picture, or its pings as a table"},
    Item{kCmdExportTest, "&Export last ping test...\tCtrl+E",
         "Save the results of the last ping test as JSON or text"},
    kSeparator,
    Item{kCmdCaptureToFile, "Capture to &file...", "Capture the frames of the guest's next start to a file",
         wxITEM_CHECK},
    kSeparator,
    Item{kCmdFollowEnd, "Follow &new lines\tCtrl+End",
         "Go to the end of the report and follow what is added"},
    Item{kCmdFindPrevious, "Find &previous\tShift+F3", "Find the previous occurrence of the specified text"},
    kSeparator,
    Item{kCmdZoomIn, "Zoom &in\tCtrl++", "Show the report in larger letters"},
    Item{kCmdZoomOut, "Zoom &out\tCtrl+-", "Show the report in smaller letters"},
    Item{kCmdNormalSize, "Normal &size\tCtrl+0", "Show the report in letters of the usual size"},
};

// Their keys work while the chart has the focus, so they are no accelerators.
constexpr std::array kChartItems = {
    Item{kCmdChartZoomIn, "Zoom &in (+)", "Show fewer pings, and each of them larger"},
    Item{kCmdChartZoomOut, "Zoom &out (-)", "Show more pings"},
    Item{kCmdChartShowAll, "Show &all (0)", "Show all pings of the test"},
    Item{kCmdChartLogarithmic, "&Logarithmic times (L)", "Show short and long round trips beside each other",
         wxITEM_CHECK},
    kSeparator,
    kViewItems[1],
    kViewItems[2],
    kViewItems[3],
    kSeparator,
    kViewItems[0],
};

constexpr std::array kTestItems = {
    Item{kCmdStartGuest, "Start \"Vantor\"...", "Start a simulated \"Vantor\" instance..."},
    Item{kCmdStartPing, "Start ping test...", "Start a ping test to someone..."},
    Item{kCmdStopPing, "Stop ping test", "Stop the ping test"},
    Item{kCmdStopGuest, "Stop \"Vantor\"", "Stop simulated \"Vantor\" instance"},
    kSeparator,
    Item{kCmdDefineBufferSizes, "Define buffer sizes...", "Define buffer sizes..."},
    Item{kCmdDefineGateway, "Define default gateway...", "Define default gateway..."},
    kSeparator,
    Item{kCmdRedetectAdapters, "Re-detect adapters", "Scan system for available adapters"},
    Item{kCmdSocketNotifyMode, "Socket-notify mode", "Toggle Socket-notify mode", wxITEM_CHECK},
    Item{kCmdSetDebugFlags, "Set debug flags...", "Set debug mode flags...", wxITEM_CHECK},
};

constexpr std::array kHelpItems = {
    Item{kCmdHelp, "Netorra &Help", "Open Netorra Help File..."},
    Item{kCmdAbout, "&About VNXTest...", "Display program information, version number and copyright"},
};

std::unique_ptr<wxMenu> MakeMenu(std::span<const Item> items) {
    auto menu = std::make_unique<wxMenu>();
    for (const Item& item : items) {
        if (item.command == 0) {
            menu->AppendSeparator();
            continue;
        }
        AppendCommand(*menu, item.command, item.label, item.prompt, item.kind);
    }
    return menu;
}

} // namespace

void AppendCommand(wxMenu& menu, Command command, const wxString& label, const wxString& prompt,
                   wxItemKind kind) {
    // The constructor rejects some of the numbers; SetId() takes all.
    auto item = std::make_unique<wxMenuItem>(&menu, wxID_HIGHEST, label, prompt, kind);
    item->SetId(WindowId(command));
    menu.Append(item.release());
}

std::unique_ptr<wxMenuBar> MakeMainMenu() {
    auto bar = std::make_unique<wxMenuBar>();
    bar->Append(MakeMenu(kFileItems).release(), "&File");
    bar->Append(MakeMenu(kEditItems).release(), "&Edit");
    bar->Append(MakeMenu(kViewItems).release(), "&View");
    bar->Append(MakeMenu(kTestItems).release(), "&Test");
    bar->Append(MakeMenu(kHelpItems).release(), "&Help");
    return bar;
}

std::unique_ptr<wxMenu> MakeContextMenu(bool canCopy) {
    constexpr std::array kItems = {kEditItems[0], kSeparator, kEditItems[2]};
    auto menu = MakeMenu(kItems);
    menu->Enable(WindowId(kCmdCopy), canCopy);
    return menu;
}

std::unique_ptr<wxMenu> MakeChartMenu() {
    return MakeMenu(kChartItems);
}

wxAcceleratorTable MakeAccelerators() {
    const std::array entries = {
        wxAcceleratorEntry(wxACCEL_CTRL, WXK_INSERT, WindowId(kCmdCopy)),
        wxAcceleratorEntry(wxACCEL_CTRL, 'N', WindowId(kCmdNew)),
        wxAcceleratorEntry(wxACCEL_CTRL, 'O', WindowId(kCmdOpen)),
        // Ctrl++ where the plus is above that sign, with Shift and without, and of the number pad.
        wxAcceleratorEntry(wxACCEL_CTRL, '=', WindowId(kCmdZoomIn)),
        wxAcceleratorEntry(wxACCEL_CTRL | wxACCEL_SHIFT, '=', WindowId(kCmdZoomIn)),
        wxAcceleratorEntry(wxACCEL_CTRL, WXK_NUMPAD_ADD, WindowId(kCmdZoomIn)),
        wxAcceleratorEntry(wxACCEL_CTRL, WXK_NUMPAD_SUBTRACT, WindowId(kCmdZoomOut)),
        wxAcceleratorEntry(wxACCEL_CTRL, WXK_NUMPAD0, WindowId(kCmdNormalSize)),
        wxAcceleratorEntry(wxACCEL_NORMAL, WXK_F6, WindowId(kCmdNextPane)),
        wxAcceleratorEntry(wxACCEL_SHIFT, WXK_F6, WindowId(kCmdPreviousPane)),
        wxAcceleratorEntry(wxACCEL_NORMAL, WXK_ESCAPE, WindowId(kCmdEscape)),
    };
    return wxAcceleratorTable(static_cast<int>(entries.size()), entries.data());
}

} // namespace vnxtest
