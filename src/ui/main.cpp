// vnxtest: the simulated guest in a window.
#include "ui/app.h"

wxIMPLEMENT_APP(vnxtest::CVNXTestApp);
