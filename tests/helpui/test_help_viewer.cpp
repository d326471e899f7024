// The packed book: found, opened at each topic, and usable while a dialog is open.
#include "helpui/desktop_fixture.h"

#include <memory>

#include <wx/app.h>
#include <wx/file.h>
#include <wx/filename.h>
#include <wx/html/helpfrm.h>
#include <wx/html/htmlwin.h>

#include "helpui/balloon.h"
#include "helpui/dialog_ids.h"
#include "helpui/help_book.h"
#include "helpui/help_topics.h"
#include "helpui/make_child.h"

namespace vnxtest {
namespace {

class HelpViewerTest : public DesktopTest {
protected:
    static wxFrame* BookFrame() {
        for (wxWindow* window : wxTopLevelWindows) {
            if (auto* frame = dynamic_cast<wxHtmlHelpFrame*>(window); frame != nullptr && frame->IsShown()) {
                return frame;
            }
        }
        return nullptr;
    }

    static const wxHtmlWindow* Page(const wxWindow* window) {
        for (const wxWindow* child : window->GetChildren()) {
            if (const auto* page = dynamic_cast<const wxHtmlWindow*>(child)) {
                return page;
            }
            if (const wxHtmlWindow* page = Page(child)) {
                return page;
            }
        }
        return nullptr;
    }

    static wxString PageTitle() {
        const wxFrame* frame = BookFrame();
        const wxHtmlWindow* page = frame != nullptr ? Page(frame) : nullptr;
        return page != nullptr ? page->GetOpenedPageTitle() : wxString();
    }
};

TEST_F(HelpViewerTest, OpensEveryTopic) {
    HelpBook book(HELP_BOOK);
    EXPECT_EQ(HelpBook::Current(), &book);
    for (const HelpTopic& topic : HelpTopics()) {
        EXPECT_TRUE(book.OpenTopic(m_dialog, topic.id)) << topic.id;
        Settle(20);
        EXPECT_FALSE(PageTitle().empty()) << topic.id;
    }
    EXPECT_TRUE(book.OpenTopic(m_dialog, kTopicPingTo));
    EXPECT_EQ(PageTitle(), "Ping dialog");
    EXPECT_TRUE(book.OpenTopic(m_dialog, 12345)); // unknown: the contents
    EXPECT_EQ(PageTitle(), "Welcome to VNXTest");
    book.Close();
    Settle(50);
    EXPECT_EQ(BookFrame(), nullptr);
    EXPECT_TRUE(book.OpenContents(m_dialog));
    EXPECT_EQ(PageTitle(), "Welcome to VNXTest");
}

TEST_F(HelpViewerTest, HelpButtonAndSecondF1OpenTheTopicOverAModalDialog) {
    m_dialog->Hide();
    auto* frame = MakeChild<wxFrame>(nullptr, wxID_ANY, "Main window");
    ShowAndWait(*frame);
    wxTheApp->SetTopWindow(frame);
    HelpBook book(HELP_BOOK);
    ProbeDialog dialog(frame);
    wxString byButton;
    wxString byKey;
    bool closed = false;
    Later(800, [&] {
        Click(*dialog.FindWindow(wxID_HELP));
        EXPECT_TRUE(WaitFor([] { return BookFrame() != nullptr && BookFrame()->IsActive(); }));
        byButton = PageTitle();
        // The book takes keys, and can be closed, while the dialog is modal.
        m_user.Char(WXK_F4, wxMOD_ALT);
        closed = WaitFor([] { return BookFrame() == nullptr; });
        EXPECT_TRUE(WaitFor([&dialog] { return dialog.IsActive(); }));
        dialog.mac->SetFocus();
        Settle();
        Press(WXK_F1);
        EXPECT_EQ(CurrentBalloon().title, "Guest MAC Address");
        Press(WXK_F1);
        EXPECT_TRUE(WaitFor([] { return BookFrame() != nullptr; }));
        byKey = PageTitle();
        // And the dialog can be filled in while the book is open.
        dialog.Raise();
        EXPECT_TRUE(WaitFor([&dialog] { return dialog.IsActive(); }));
        Type("02");
        book.Close();
        Settle();
        if (dialog.IsModal()) {
            dialog.EndModal(wxID_CANCEL);
        }
    });
    dialog.ShowModal();
    EXPECT_EQ(byButton, "Parameters dialog");
    EXPECT_EQ(byKey, "Parameters dialog");
    EXPECT_EQ(dialog.mac->GetMac(), L"02");
    EXPECT_TRUE(closed);
    wxTheApp->SetTopWindow(nullptr);
    frame->Destroy();
}

TEST_F(HelpViewerTest, SaysWhenThereIsNoBookOrItCannotBeRead) {
    const wxString damaged = wxFileName::CreateTempFileName("vnxtest-help") + ".htb";
    ASSERT_TRUE(wxFile(damaged, wxFile::write).Write("this is no archive"));
    for (const wxString& path : {wxString("/nowhere/vnxtest.htb"), wxString(), damaged}) {
        HelpBook book(path);
        const auto asked = std::make_shared<bool>(false);
        Later(600, [this, asked] {
            *asked = !m_dialog->IsActive();
            m_user.Char(WXK_RETURN);
        });
        EXPECT_FALSE(book.OpenContents(m_dialog)) << path;
        EXPECT_TRUE(*asked) << path;
        EXPECT_EQ(BookFrame(), nullptr);
        Settle();
    }
    wxRemoveFile(damaged);
    wxRemoveFile(damaged.BeforeLast('.'));
}

} // namespace
} // namespace vnxtest
