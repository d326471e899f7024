// The window's text when the system has no memory left for it, in this process.
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <wx/frame.h>

#include "ui/text/output_text.h"

namespace vnxtest {
namespace {

// The memory that the process may have, bounded at what it has and `more` bytes.
class LittleMemory {
public:
    explicit LittleMemory(rlim_t more) {
        std::ifstream statm("/proc/self/statm");
        rlim_t pages = 0;
        statm >> pages;
        getrlimit(RLIMIT_AS, &m_before);
        const rlimit little{pages * 4096 + more, m_before.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_AS, &little), 0);
    }
    ~LittleMemory() { setrlimit(RLIMIT_AS, &m_before); }
    LittleMemory(const LittleMemory&) = delete;
    LittleMemory& operator=(const LittleMemory&) = delete;

private:
    rlimit m_before{};
};

TEST(FullReport, SaysSoWithoutMemory) {
    wxFrame* const frame = std::make_unique<wxFrame>(nullptr, wxID_ANY, "test").release();
    COutputText* const text = std::make_unique<COutputText>(frame).release();
    const std::string line = std::string(1023, 'x') + "\n";
    text->AppendLines(line);
    std::size_t lines = 1;
    {
        const LittleMemory memory(rlim_t{64} * 1024 * 1024);
        while (lines < 4096 && text->AppendLines(line) && !text->IsFull()) {
            ++lines;
        }
    }
    EXPECT_TRUE(text->IsFull());
    EXPECT_GT(lines, 900U);
    EXPECT_EQ(text->WholeText().find("** The report is full"), lines * line.size());
    frame->Destroy();
}

} // namespace
} // namespace vnxtest
