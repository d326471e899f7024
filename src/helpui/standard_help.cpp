#include "helpui/standard_help.h"

#include "widgets/caption/frame_area.h"

namespace vnxtest {

namespace {

constexpr StandardHelp kTexts[] = {
    {frame_area::kTitleBar, 30104, L"Title Bar",
     L"This is the title bar. It shows the name of the window. Drag it to move the window."},
    {frame_area::kMenuBar, 30105, L"Menu Bar",
     L"This is the menu bar. It holds the commands of the program."},
    {frame_area::kSystemMenu, 30106, L"Window Menu",
     L"Click here for a menu of commands that act on the window itself."},

    // Buttons
    {standard_button::kOk, 30110, L"'OK' Button",
     L"Click this button to accept what you entered and close the dialog."},
    {standard_button::kCancel, 30111, L"'Cancel' Button",
     L"Click this button to close the dialog without changing anything."},
    {standard_button::kHelp, 30112, L"'Help' Button",
     L"Click this button to open the help book at the topic about this dialog."},
    {standard_button::kApply, 30113, L"'Apply' Button",
     L"Click this button to accept what you entered and leave the dialog open."},
    {standard_button::kNext, 30114, L"'Next' Button", L"Click this button to go on to the next page."},
    {standard_button::kBack, 30115, L"'Back' Button",
     L"Click this button to go back to the page before this one."},
    {standard_button::kFinish, 30116, L"'Finish' Button",
     L"Click this button to accept what you entered on all pages and finish."},

    // Bars and panes
    {0, 30130, L"Tab Control", L"Click one of these tabs to see the page that belongs to it."},
    {0, 30131, L"Toolbar", L"This is a toolbar. Click one of its buttons to carry out a command."},
    {0, 30132, L"Status Bar",
     L"This is the status bar. It explains the command that is pointed at in the menu and shows the state of the program."},
    {0, 30133, L"Preview Bar",
     L"This is the bar of the print preview. Click one of its buttons to turn the pages, to zoom or to print."},
    {0, 30134, L"Docking Toolbar Area", L"Toolbars can be dragged here and stay at this edge of the window."},
    {0, 30135, L"Window Pane",
     L"This is where the output of the program appears. It cannot be edited, but all of it can be searched, copied and saved."},

    // Indicators of the status bar
    {0, 30140, L"EXT Indicator", L"EXT is shown here while the selection is being extended."},
    {0, 30141, L"CAPS Indicator", L"CAP is shown here while Caps Lock is on."},
    {0, 30142, L"NUM Indicator", L"NUM is shown here while Num Lock is on."},
    {0, 30143, L"SCRL Indicator", L"SCRL is shown here while Scroll Lock is on."},
    {0, 30144, L"INS or OVR Indicator",
     L"This shows whether what you type is inserted (INS) or replaces what is there (OVR)."},
    {0, 30145, L"REC Indicator", L"REC is shown here while a macro is being recorded."},
    {0, 30146, L"KANA Indicator", L"KANA is shown here while the Kana lock is on."},

    // Parts of the caption
    {frame_area::kSizeBox, 30150, L"Size Box", L"Drag this corner to change the size of the window."},
    {0, 30151, L"Application Title Bar",
     L"This is the title bar of the program. It shows the name of the document and of the program. Drag it to move the window."},
    {frame_area::kHorizontalScrollBar, 30152, L"Horizontal Scroll Bar",
     L"Use this bar to move what is shown to the left or to the right."},
    {frame_area::kVerticalScrollBar, 30153, L"Vertical Scroll Bar",
     L"Use this bar to move what is shown up or down."},
    {frame_area::kMinimizeButton, 30154, L"Minimize Button",
     L"Click this button to hide the window. The task bar brings it back."},
    {frame_area::kMaximizeButton, 30155, L"Maximize Button",
     L"Click this button to let the window fill the screen."},
    {frame_area::kRestoreButton, 30156, L"Restore Button",
     L"Click this button to give the window back the size it had before it filled the screen."},
    {frame_area::kCloseButton, 30157, L"Close Button", L"Click this button to close the window."},
    {frame_area::kHelpButton, 30158, L"Context Help Button",
     L"Click this button, then a control or a part of the window, to see what it is for. Escape ends this mode."},

    // The border
    {frame_area::kLeftEdge, 30170, L"Left Edge", L"Drag this edge to make the window wider or narrower."},
    {frame_area::kRightEdge, 30171, L"Right Edge", L"Drag this edge to make the window wider or narrower."},
    {frame_area::kTopEdge, 30172, L"Top Edge", L"Drag this edge to make the window taller or shorter."},
    {frame_area::kBottomEdge, 30173, L"Bottom Edge", L"Drag this edge to make the window taller or shorter."},
    {frame_area::kTopLeftCorner, 30174, L"Top Left Corner",
     L"Drag this corner to change the width and the height of the window."},
    {frame_area::kTopRightCorner, 30175, L"Top Right Corner",
     L"Drag this corner to change the width and the height of the window."},
    {frame_area::kBottomLeftCorner, 30176, L"Bottom Left Corner",
     L"Drag this corner to change the width and the height of the window."},
    {frame_area::kBottomRightCorner, 30177, L"Bottom Right Corner",
     L"Drag this corner to change the width and the height of the window."},
    {frame_area::kBorder, 30178, L"Border",
     L"This is the border of the window. The window has a fixed size."},

    // Help button, control bars, settings dialogs
    {0, 30190, L"Help Button",
     L"Click this button, then a control or a part of the window, to see what it is for."},
    {0, 30191, L"Close Button of a Bar", L"Click this button to hide the bar."},
    {0, 30192, L"Context Help Button of a Bar",
     L"Click this button, then a part of the bar, to see what it is for."},
    {0, 30193, L"Settings Pages", L"This is the list of the pages of settings. Click one to see it."},
    {0, 30194, L"Settings Page Title", L"This is the name of the page of settings that is shown."},
    {0, 30195, L"Settings Page", L"These are the settings of the page you chose."},
    {0, 30196, L"Settings Buttons", L"These buttons act on the settings of all pages."},
};

} // namespace

std::span<const StandardHelp> StandardHelpTexts() {
    return kTexts;
}

} // namespace vnxtest
