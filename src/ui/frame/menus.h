// The menu bar, the right-click menu and the accelerators, built from one table.
#pragma once

#include <memory>

#include <wx/accel.h>
#include <wx/menu.h>

#include "ui/frame/command_ids.h"

namespace vnxtest {

// The frame's menus. The caller hands the result to a frame.
std::unique_ptr<wxMenuBar> MakeMainMenu();

// The menu of the right mouse button in the output view. "Copy" is disabled unless `canCopy`.
std::unique_ptr<wxMenu> MakeContextMenu(bool canCopy);

// The menu of the right mouse button in the chart.
std::unique_ptr<wxMenu> MakeChartMenu();

// Appends an item for `command`, whatever its number.
void AppendCommand(wxMenu& menu, Command command, const wxString& label, const wxString& prompt = {},
                   wxItemKind kind = wxITEM_NORMAL);

// The accelerators beside those that menu items show.
wxAcceleratorTable MakeAccelerators();

} // namespace vnxtest
