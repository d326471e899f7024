// The standard texts: what every window has.
#include "helpui/help_texts.h"

namespace vnxtest {

namespace {

constexpr HelpString kStandardStrings[] = {
    {kTextWhatsThisHelp, L"What's This? Help"},
    {kTextHelpUnavailable, L"Help Unavailable"},
    {kTextNoHelp,
     L"There is no popup balloon help defined for control #%d.\n\nPlease choose another control or "
     L"press F1 for context Help."},
    {30104,
     L"This is the title bar. It shows the name of the window. Drag it to move the window.\nTitle Bar"},
    {30105, L"This is the menu bar. It holds the commands of the program.\nMenu Bar"},
    {30106, L"Click here for a menu of commands that act on the window itself.\nWindow Menu"},

    // Buttons
    {30110, L"Click this button to accept what you entered and close the dialog.\n'OK' Button"},
    {30111, L"Click this button to close the dialog without changing anything.\n'Cancel' Button"},
    {30112, L"Click this button to open the help book at the topic about this dialog.\n'Help' Button"},
    {30113, L"Click this button to accept what you entered and leave the dialog open.\n'Apply' Button"},
    {30114, L"Click this button to go on to the next page.\n'Next' Button"},
    {30115, L"Click this button to go back to the page before this one.\n'Back' Button"},
    {30116, L"Click this button to accept what you entered on all pages and finish.\n'Finish' Button"},

    // Bars and panes
    {30130, L"Click one of these tabs to see the page that belongs to it.\nTab Control"},
    {30131, L"This is a toolbar. Click one of its buttons to carry out a command.\nToolbar"},
    {30132,
     L"This is the status bar. It explains the command that is pointed at in the menu and shows the state "
     L"of the program.\nStatus Bar"},
    {30133,
     L"This is the bar of the print preview. Click one of its buttons to turn the pages, to zoom or to "
     L"print.\nPreview Bar"},
    {30134, L"Toolbars can be dragged here and stay at this edge of the window.\nDocking Toolbar Area"},
    {30135,
     L"This is where the output of the program appears. It cannot be edited, but all of it can be searched, "
     L"copied and saved.\nWindow Pane"},

    // Indicators of the status bar
    {30140, L"EXT is shown here while the selection is being extended.\nEXT Indicator"},
    {30141, L"CAP is shown here while Caps Lock is on.\nCAPS Indicator"},
    {30142, L"NUM is shown here while Num Lock is on.\nNUM Indicator"},
    {30143, L"SCRL is shown here while Scroll Lock is on.\nSCRL Indicator"},
    {30144,
     L"This shows whether what you type is inserted (INS) or replaces what is there (OVR).\nINS or OVR "
     L"Indicator"},
    {30145, L"REC is shown here while a macro is being recorded.\nREC Indicator"},
    {30146, L"KANA is shown here while the Kana lock is on.\nKANA Indicator"},

    // Parts of the caption
    {30150, L"Drag this corner to change the size of the window.\nSize Box"},
    {30151,
     L"This is the title bar of the program. It shows the name of the document and of the program. Drag it "
     L"to move the window.\nApplication Title Bar"},
    {30152, L"Use this bar to move what is shown to the left or to the right.\nHorizontal Scroll Bar"},
    {30153, L"Use this bar to move what is shown up or down.\nVertical Scroll Bar"},
    {30154, L"Click this button to hide the window. The task bar brings it back.\nMinimize Button"},
    {30155, L"Click this button to let the window fill the screen.\nMaximize Button"},
    {30156,
     L"Click this button to give the window back the size it had before it filled the screen.\nRestore "
     L"Button"},
    {30157, L"Click this button to close the window.\nClose Button"},
    {30158,
     L"Click this button, then a control or a part of the window, to see what it is for. Escape ends this "
     L"mode.\nContext Help Button"},

    // The border
    {30170, L"Drag this edge to make the window wider or narrower.\nLeft Edge"},
    {30171, L"Drag this edge to make the window wider or narrower.\nRight Edge"},
    {30172, L"Drag this edge to make the window taller or shorter.\nTop Edge"},
    {30173, L"Drag this edge to make the window taller or shorter.\nBottom Edge"},
    {30174, L"Drag this corner to change the width and the height of the window.\nTop Left Corner"},
    {30175, L"Drag this corner to change the width and the height of the window.\nTop Right Corner"},
    {30176, L"Drag this corner to change the width and the height of the window.\nBottom Left Corner"},
    {30177, L"Drag this corner to change the width and the height of the window.\nBottom Right Corner"},
    {30178, L"This is the border of the window. The window has a fixed size.\nBorder"},

    // Help button, control bars, settings dialogs
    {30190,
     L"Click this button, then a control or a part of the window, to see what it is for.\nHelp Button"},
    {30191, L"Click this button to hide the bar.\nClose Button of a Bar"},
    {30192,
     L"Click this button, then a part of the bar, to see what it is for.\nContext Help Button of a Bar"},
    {30193, L"This is the list of the pages of settings. Click one to see it.\nSettings Pages"},
    {30194, L"This is the name of the page of settings that is shown.\nSettings Page Title"},
    {30195, L"These are the settings of the page you chose.\nSettings Page"},
    {30196, L"These buttons act on the settings of all pages.\nSettings Buttons"},
};

} // namespace

std::span<const HelpString> StandardHelpStrings() {
    return kStandardStrings;
}

} // namespace vnxtest
