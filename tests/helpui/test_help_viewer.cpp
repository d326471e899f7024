// The packed book: found, opened at each topic, and usable while a dialog is open.
#include "helpui/help_fixture.h"

#include <wx/app.h>
#include <wx/html/helpfrm.h>
#include <wx/html/helpwnd.h>
#include <wx/html/htmlwin.h>

#include "helpui/help_book.h"
#include "widgets/make_child.h"

namespace vnxtest {
namespace {

class HelpViewerTest : public HelpTest {
protected:
    static wxHtmlHelpFrame* BookFrame() {
        for (wxWindow* window : wxTopLevelWindows) {
            if (auto* frame = dynamic_cast<wxHtmlHelpFrame*>(window); frame != nullptr && frame->IsShown()) {
                return frame;
            }
        }
        return nullptr;
    }

    static wxString PageTitle() {
        wxHtmlHelpFrame* const frame = BookFrame();
        return frame != nullptr ? frame->GetHelpWindow()->GetHtmlWindow()->GetOpenedPageTitle() : wxString();
    }
};

// That every topic has its page: test_help_book.py.
TEST_F(HelpViewerTest, HelpButtonAndSecondF1OpenTheTopicOverAModalDialog) {
    m_dialog->Hide();
    EXPECT_TRUE(WaitFor([this] { return !m_dialog->IsActive(); }));
    auto* frame = MakeChild<wxFrame>(nullptr, wxID_ANY, "Main window");
    ShowAndWait(*frame);
    wxTheApp->SetTopWindow(frame);
    HelpBook book; // beside the tests
    EXPECT_TRUE(book.OpenContents(frame));
    EXPECT_EQ(PageTitle(), "Welcome to VNXTest");
    book.Close();
    HelpProbe dialog(frame);
    Later(800, [&] {
        EXPECT_TRUE(WaitFor([&dialog] { return dialog.IsActive(); }));
        Settle();
        Click(*dialog.FindWindow(wxID_HELP));
        EXPECT_TRUE(WaitFor([] { return BookFrame() != nullptr && BookFrame()->IsActive(); }));
        EXPECT_EQ(PageTitle(), "Parameters dialog");
        // The book takes keys, and can be closed, while the dialog is modal.
        Settle(500); // until the window manager knows, too, which window the keys are for
        m_user.Char(WXK_F4, wxMOD_ALT);
        EXPECT_TRUE(WaitFor([] { return BookFrame() == nullptr; }));
        EXPECT_TRUE(WaitFor([&dialog] { return dialog.IsActive(); }));
        Settle();
        dialog.mac->SetFocus();
        Press(WXK_F1);
        EXPECT_EQ(Title(), "MAC Entry");
        Press(WXK_F1);
        EXPECT_TRUE(WaitFor([] { return BookFrame() != nullptr && BookFrame()->IsActive(); }));
        EXPECT_EQ(PageTitle(), "Parameters dialog");
        // And the dialog can be filled in while the book is open.
        dialog.Raise();
        EXPECT_TRUE(WaitFor([&dialog] { return dialog.IsActive(); }));
        Type("02");
        EXPECT_TRUE(WaitFor([&dialog] { return dialog.mac->GetMac() == L"02"; }));
        book.Close();
        if (dialog.IsModal()) {
            dialog.EndModal(wxID_CANCEL);
        }
    });
    dialog.ShowModal();
    EXPECT_EQ(dialog.mac->GetMac(), L"02");
    wxTheApp->SetTopWindow(nullptr);
    frame->Destroy();
}

} // namespace
} // namespace vnxtest
