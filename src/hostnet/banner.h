// The boxed banners of the report: what is wrong, what it means for the test, what to do next.
//
// Every line begins with "ERROR:  " or "WARNING:  " and all lines of a box are equally wide, so that a
// banner stands out in a long report and can be searched for. Any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vnxtest {

enum class BannerKind { Error, Warning };

// The characters between the left and the right edge of a box, and those of them that a message line may
// use.
inline constexpr std::size_t kBannerInnerWidth = 72;
inline constexpr std::size_t kBannerTextWidth = kBannerInnerWidth - 6;

// `text` in lines of at most `width` characters, broken at blanks; a word that is longer is cut. A "\n"
// in the text begins a new line; blanks at the beginning of such a line are kept if they fit.
std::vector<std::wstring> WrapText(std::wstring_view text, std::size_t width);

// The whole box and an empty line: the paragraphs with a blank framed line between them, and a last one
// that names the topic of the help book.
std::wstring MakeBanner(BannerKind kind, const std::vector<std::wstring>& paragraphs,
                        std::wstring_view helpTopic);

// Writes a banner to the document.
void LogBanner(BannerKind kind, const std::vector<std::wstring>& paragraphs, std::wstring_view helpTopic);

} // namespace vnxtest
