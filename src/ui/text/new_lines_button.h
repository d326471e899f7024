// The small button over the text that says that lines were appended below what is seen, and leads there.
// User-interface thread.
#pragma once

#include <wx/button.h>

#include "ui/text/output_text.h"

namespace vnxtest {

class CNewLinesButton final : public wxButton {
public:
    // Stands in the lower right corner of `text`, while there are such lines.
    explicit CNewLinesButton(COutputText& text);

    // The keys stay with the text, where End does the same.
    bool AcceptsFocus() const override { return false; }

private:
    void Place();
};

} // namespace vnxtest
