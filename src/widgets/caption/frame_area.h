// The numbers of the parts of a window's frame that are no controls, for hit tests and for help.
#pragma once

namespace vnxtest::frame_area {

inline constexpr int kTitleBar = 0xF002;
inline constexpr int kSystemMenu = 0xF003;
inline constexpr int kSizeBox = 0xF004;
inline constexpr int kMenuBar = 0xF005;
inline constexpr int kHorizontalScrollBar = 0xF006;
inline constexpr int kVerticalScrollBar = 0xF007;
inline constexpr int kMinimizeButton = 0xF008;
inline constexpr int kMaximizeButton = 0xF009;
inline constexpr int kLeftEdge = 0xF00A;
inline constexpr int kRightEdge = 0xF00B;
inline constexpr int kTopEdge = 0xF00C;
inline constexpr int kTopLeftCorner = 0xF00D;
inline constexpr int kTopRightCorner = 0xF00E;
inline constexpr int kBottomEdge = 0xF00F;
inline constexpr int kBottomLeftCorner = 0xF010;
inline constexpr int kBottomRightCorner = 0xF011;
inline constexpr int kBorder = 0xF012;
inline constexpr int kRestoreButton = 0xF013;
inline constexpr int kCloseButton = 0xF014;
inline constexpr int kHelpButton = 0xF015;
inline constexpr int kStatusBar = 0xE801;
inline constexpr int kStatusField = 0xF100; // field n of a status bar is kStatusField + n

} // namespace vnxtest::frame_area
