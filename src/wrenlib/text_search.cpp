#include "wrenlib/text_search.h"

#include <algorithm>
#include <array>

namespace vnxtest {

namespace {

// By Horspool (1980): the character in the text where `wanted` would end, or begin, tells how far it cannot
// be.
class Wanted {
public:
    Wanted(std::string_view wanted, LetterCase letters) : m_wanted(wanted), m_letters(letters) {
        for (std::size_t i = 0; i < m_folded.size(); ++i) {
            const bool capital = letters == LetterCase::Ignored && i >= 'A' && i <= 'Z';
            m_folded[i] = static_cast<unsigned char>(capital ? i - 'A' + 'a' : i);
        }
    }

    std::size_t First(std::string_view text) const {
        const std::size_t last = m_wanted.size() - 1;
        std::array<std::size_t, 256> steps{};
        steps.fill(m_wanted.size());
        for (std::size_t i = 0; i < last; ++i) {
            ForEachCase(m_wanted[i], [&](unsigned char each) { steps[each] = last - i; });
        }
        for (std::size_t at = 0; at + last < text.size(); at += steps[Byte(text[at + last])]) {
            if (Fold(text[at + last]) == Fold(m_wanted[last]) && IsAt(text, at)) {
                return at;
            }
        }
        return std::string_view::npos;
    }

    std::size_t Last(std::string_view text) const {
        std::array<std::size_t, 256> steps{};
        steps.fill(m_wanted.size());
        for (std::size_t i = m_wanted.size() - 1; i > 0; --i) {
            ForEachCase(m_wanted[i], [&](unsigned char each) { steps[each] = i; });
        }
        if (text.size() < m_wanted.size()) {
            return std::string_view::npos;
        }
        std::size_t at = text.size() - m_wanted.size();
        while (Fold(text[at]) != Fold(m_wanted.front()) || !IsAt(text, at)) {
            const std::size_t step = steps[Byte(text[at])];
            if (step > at) {
                return std::string_view::npos;
            }
            at -= step;
        }
        return at;
    }

private:
    static unsigned char Byte(char one) { return static_cast<unsigned char>(one); }
    unsigned char Fold(char one) const { return m_folded[Byte(one)]; }

    bool IsAt(std::string_view text, std::size_t at) const {
        return std::ranges::equal(text.substr(at, m_wanted.size()), m_wanted,
                                  [this](char one, char other) { return Fold(one) == Fold(other); });
    }

    template <typename Function>
    void ForEachCase(char letter, Function function) const {
        const unsigned char folded = Fold(letter);
        function(folded);
        if (m_letters == LetterCase::Ignored && folded >= 'a' && folded <= 'z') {
            function(static_cast<unsigned char>(folded - 'a' + 'A'));
        }
    }

    std::string_view m_wanted;
    LetterCase m_letters;
    std::array<unsigned char, 256> m_folded;
};

} // namespace

std::size_t FindFirstText(std::string_view text, std::string_view wanted, LetterCase letters) {
    return Wanted(wanted, letters).First(text);
}

std::size_t FindLastText(std::string_view text, std::string_view wanted, LetterCase letters) {
    return Wanted(wanted, letters).Last(text);
}

} // namespace vnxtest
