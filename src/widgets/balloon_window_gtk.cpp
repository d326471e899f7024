// The balloon where the system has none: a popup window in the shape of one.
#include "widgets/balloon_window.h"

#include <algorithm>
#include <utility>

#include <gtk/gtk.h>
#include <wx/artprov.h>
#include <wx/dcbuffer.h>
#include <wx/display.h>
#include <wx/graphics.h>
#include <wx/popupwin.h>
#include <wx/settings.h>
#include <wx/sizer.h>
#include <wx/statbmp.h>
#include <wx/stattext.h>
#include <wx/toplevel.h>
#include <wx/weakref.h>

#include "widgets/accessible_name.h"
#include "widgets/make_child.h"

namespace vnxtest {

namespace {

// Measures in device-independent pixels.
constexpr int kTail = 10;       // height of the tip that points at the control
constexpr int kTailOffset = 18; // from the balloon's left edge to the tip
constexpr int kRadius = 6;      // of the corners
constexpr int kPadding = 10;    // around the contents
constexpr int kOverlap = 3;     // how far the tip reaches over the control's edge

constexpr int kTextWidth = 48; // characters, at which the text is wrapped

// Own colours: a theme gives no pair for this kind of window that is sure to be readable.
struct Colours {
    wxColour background;
    wxColour border;
    wxColour text;
};

Colours BalloonColours() {
    if (wxSystemSettings::GetAppearance().IsUsingDarkBackground()) {
        return {wxColour(58, 61, 66), wxColour(150, 154, 160), wxColour(245, 245, 245)};
    }
    return {wxColour(255, 255, 236), wxColour(118, 118, 118), wxColour(20, 20, 20)};
}

wxBitmap IconBitmap(BalloonIcon icon, const wxWindow& window) {
    const wxSize size = window.FromDIP(wxSize(24, 24));
    switch (icon) {
    case BalloonIcon::Information:
        return wxArtProvider::GetBitmap(wxART_INFORMATION, wxART_MESSAGE_BOX, size);
    case BalloonIcon::Warning:
        return wxArtProvider::GetBitmap(wxART_WARNING, wxART_MESSAGE_BOX, size);
    case BalloonIcon::Error:
        return wxArtProvider::GetBitmap(wxART_ERROR, wxART_MESSAGE_BOX, size);
    case BalloonIcon::None:
        break;
    }
    return {};
}

class Popup final : public wxPopupWindow {
public:
    Popup(wxWindow* owner, const wxRect& part, BalloonContents contents)
        : wxPopupWindow(owner, wxBORDER_NONE | wxFRAME_SHAPED), m_contents(std::move(contents)),
          m_colours(BalloonColours()) {
        SetBackgroundStyle(wxBG_STYLE_PAINT);
        SetBackgroundColour(m_colours.background);
        MakeTransparent();
        Fill();
        Place(part);
        SetAccessibleName(*this, m_contents.title + ". " + m_contents.text);
        Bind(wxEVT_PAINT, &Popup::OnPaint, this);
    }

private:
    void Fill() {
        auto* row = MakeChild<wxBoxSizer>(wxHORIZONTAL);
        const wxBitmap bitmap = IconBitmap(m_contents.icon, *this);
        if (bitmap.IsOk()) {
            row->Add(MakeChild<wxStaticBitmap>(this, wxID_ANY, bitmap),
                     wxSizerFlags().Border(wxRIGHT, FromDIP(8)));
        }
        auto* column = MakeChild<wxBoxSizer>(wxVERTICAL);
        if (!m_contents.title.empty()) {
            wxStaticText* title = AddText(m_contents.title);
            title->SetFont(GetFont().Bold());
            column->Add(title, wxSizerFlags().Border(wxBOTTOM, FromDIP(4)));
        }
        column->Add(AddText(m_contents.text));
        row->Add(column);
        m_body = MakeChild<wxBoxSizer>(wxVERTICAL);
        m_body->Add(row, wxSizerFlags().Border(wxALL, FromDIP(kPadding)));
        SetSizer(m_body);
    }

    wxStaticText* AddText(const wxString& text) {
        auto* label = MakeChild<wxStaticText>(this, wxID_ANY, wxControl::EscapeMnemonics(text));
        label->SetForegroundColour(m_colours.text);
        label->SetBackgroundColour(m_colours.background);
        label->Wrap(kTextWidth * GetCharWidth());
        return label;
    }

    // Below `part` if there is room, else above; the tip near its left end.
    void Place(const wxRect& part) {
        const int tail = FromDIP(kTail);
        const int overlap = std::min(FromDIP(kOverlap), part.height / 2);
        wxSize size = m_body->CalcMin();
        size.x = std::max(size.x, 2 * FromDIP(kTailOffset));
        size.y += tail;
        const int display = wxDisplay::GetFromPoint(part.GetTopLeft());
        const wxRect screen =
            wxDisplay(static_cast<unsigned>(display == wxNOT_FOUND ? 0 : display)).GetClientArea();

        m_tailUp = part.GetBottom() - overlap + size.y <= screen.GetBottom() ||
                   part.GetTop() + overlap - size.y < screen.GetTop();
        const wxPoint tip(part.x + std::min(FromDIP(kTailOffset), part.width / 2),
                          m_tailUp ? part.GetBottom() + 1 - overlap : part.GetTop() + overlap);
        wxPoint corner(tip.x - FromDIP(kTailOffset), m_tailUp ? tip.y : tip.y - size.y);
        corner.x = std::max(std::min(corner.x, screen.GetRight() - size.x), screen.GetLeft());
        corner.y = std::max(std::min(corner.y, screen.GetBottom() - size.y), screen.GetTop());
        m_tip = tip.x - corner.x;

        m_body->InsertSpacer(m_tailUp ? 0 : m_body->GetItemCount(), tail);
        SetSize(wxRect(corner, size));
        Layout();
        if (wxGraphicsRenderer* renderer = wxGraphicsRenderer::GetDefaultRenderer()) {
            SetShape(Outline(*renderer));
        }
    }

    wxGraphicsPath Outline(wxGraphicsRenderer& renderer) const {
        const double tail = FromDIP(kTail);
        const double radius = FromDIP(kRadius);
        const double right = GetSize().x - 1;
        const double bottom = GetSize().y - 1;
        const double top = m_tailUp ? tail : 0;
        const double low = m_tailUp ? bottom : bottom - tail;
        const double tip = std::clamp<double>(m_tip, radius + 1, right - radius - 1);
        const double foot = std::min(tip + tail, right - radius);
        wxGraphicsPath path = renderer.CreatePath();
        path.MoveToPoint(0, top + radius);
        path.AddArcToPoint(0, top, radius, top, radius);
        if (m_tailUp) {
            path.AddLineToPoint(tip, top);
            path.AddLineToPoint(tip, 0);
            path.AddLineToPoint(foot, top);
        }
        path.AddArcToPoint(right, top, right, top + radius, radius);
        path.AddArcToPoint(right, low, right - radius, low, radius);
        if (!m_tailUp) {
            path.AddLineToPoint(foot, low);
            path.AddLineToPoint(tip, bottom);
            path.AddLineToPoint(tip, low);
        }
        path.AddArcToPoint(0, low, 0, low - radius, radius);
        path.CloseSubpath();
        return path;
    }

    void OnPaint(wxPaintEvent&) {
        wxAutoBufferedPaintDC dc(this);
        const std::unique_ptr<wxGraphicsContext> graphics(wxGraphicsContext::Create(dc));
        if (graphics != nullptr) {
            const wxGraphicsPath outline = Outline(*graphics->GetRenderer());
            graphics->SetBrush(wxBrush(m_colours.background));
            graphics->FillPath(outline);
            graphics->SetPen(wxPen(m_colours.border, std::max(2, FromDIP(2))));
            graphics->StrokePath(outline);
        }
    }

    // Where windows have no shape there is transparency.
    void MakeTransparent() {
        GdkScreen* const screen = gtk_widget_get_screen(m_widget);
        GdkVisual* const visual = gdk_screen_get_rgba_visual(screen);
        if (visual != nullptr && gdk_screen_is_composited(screen) != FALSE) {
            gtk_widget_set_visual(m_widget, visual);
            gtk_widget_set_app_paintable(m_widget, TRUE);
        }
    }

    BalloonContents m_contents;
    Colours m_colours;
    wxBoxSizer* m_body = nullptr;
    bool m_tailUp = true;
    int m_tip = 0;
};

// A child of its window, which destroys it if nothing else did.
class PopupBalloon final : public BalloonWindow {
public:
    PopupBalloon(wxWindow* owner, const wxRect& part, BalloonContents contents)
        : m_popup(MakeChild<Popup>(owner, part, std::move(contents))) {
        m_popup->Show();
    }
    PopupBalloon(const PopupBalloon&) = delete;
    PopupBalloon& operator=(const PopupBalloon&) = delete;
    ~PopupBalloon() override {
        if (m_popup != nullptr) {
            m_popup->Hide();
            m_popup->Destroy();
        }
    }

    wxWindow* Window() const override { return m_popup.get(); }
    wxRect Place() const override { return m_popup != nullptr ? m_popup->GetScreenRect() : wxRect(); }

private:
    wxWeakRef<Popup> m_popup;
};

} // namespace

std::unique_ptr<BalloonWindow> MakeBalloonWindow(wxWindow* owner, const wxRect& part,
                                                 const BalloonContents& contents) {
    return std::make_unique<PopupBalloon>(owner, part, contents);
}

} // namespace vnxtest
