// The help book as it lies in the tree: every topic and every link leads somewhere, and what other parts of
// the program promise of the book is in it.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "helpui/help_registrations.h"
#include "helpui/help_topics.h"

namespace vnxtest {
namespace {

const std::filesystem::path kFolder = HELP_FOLDER;

std::string Read(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> FindAll(const std::string& text, const char* pattern) {
    const std::regex expression(pattern);
    std::vector<std::string> found;
    for (std::sregex_iterator match(text.begin(), text.end(), expression); match != std::sregex_iterator();
         ++match) {
        found.push_back((*match)[1]);
    }
    return found;
}

// The pages of the book by file name.
std::map<std::string, std::string> Pages() {
    std::map<std::string, std::string> pages;
    for (const auto& entry : std::filesystem::directory_iterator(kFolder)) {
        if (entry.path().extension() == ".html") {
            pages[entry.path().filename().string()] = Read(entry.path());
        }
    }
    return pages;
}

class HelpBookFiles : public ::testing::Test {
protected:
    // "page.html#place", "page.html" or "#place" on `from`.
    bool Resolves(const std::string& from, const std::string& link) const {
        const std::size_t mark = link.find('#');
        const std::string page = mark == 0 ? from : link.substr(0, mark);
        const auto found = m_pages.find(page);
        if (found == m_pages.end()) {
            return false;
        }
        return mark == std::string::npos ||
               found->second.find("<a name=\"" + link.substr(mark + 1) + "\">") != std::string::npos;
    }

    const std::map<std::string, std::string> m_pages = Pages();
    const std::string m_contents = Read(kFolder / "vnxtest.hhc");
    const std::string m_index = Read(kFolder / "vnxtest.hhk");
};

TEST_F(HelpBookFiles, EveryTopicOfTheProgramExists) {
    for (const HelpTopic& topic : HelpTopics()) {
        EXPECT_TRUE(Resolves({}, std::string(topic.page))) << topic.id << ": " << topic.page;
    }
    for (const int window : WindowsWithHelp()) {
        HelpMaps maps;
        RegisterWindowHelp(window, maps);
        EXPECT_TRUE(maps.topics.Find(MakeHelpKey(window))) << window;
        for (const auto& [key, topic] : maps.topics.All()) {
            EXPECT_TRUE(FindHelpTopic(static_cast<int>(topic))) << std::hex << key;
        }
    }
}

TEST_F(HelpBookFiles, EveryLinkLeadsSomewhere) {
    ASSERT_GT(m_pages.size(), 15U);
    for (const auto& [name, text] : m_pages) {
        for (const std::string& link : FindAll(text, "href=\"([^\"]*)\"")) {
            EXPECT_TRUE(Resolves(name, link)) << name << " links to " << link;
        }
    }
    for (const std::string* list : {&m_contents, &m_index}) {
        const auto links = FindAll(*list, "name=\"Local\" value=\"([^\"]*)\"");
        EXPECT_GT(links.size(), 20U);
        for (const std::string& link : links) {
            EXPECT_TRUE(Resolves({}, link)) << link;
        }
    }
}

TEST_F(HelpBookFiles, EveryPageIsInTheContentsAndCanBeReachedByLinks) {
    std::set<std::string> reached{"index.html"};
    std::vector<std::string> waiting{"index.html"};
    while (!waiting.empty()) {
        const std::string name = waiting.back();
        waiting.pop_back();
        for (const std::string& link : FindAll(m_pages.at(name), "href=\"([^\"#]+)")) {
            if (m_pages.contains(link) && reached.insert(link).second) {
                waiting.push_back(link);
            }
        }
    }
    for (const auto& [name, text] : m_pages) {
        EXPECT_NE(m_contents.find("value=\"" + name + "\""), std::string::npos)
            << name << " is not in the contents";
        EXPECT_TRUE(reached.contains(name)) << name << " cannot be reached from the first page";
        const auto titles = FindAll(text, "<title>([^<]*)</title>");
        const auto headings = FindAll(text, "<h2>([^<]*)</h2>");
        EXPECT_EQ(titles, headings) << name;
    }
}

// The banners of the report and the menu name these topics.
TEST_F(HelpBookFiles, TopicsThatOtherTextsNameAreThere) {
    for (const char* topic :
         {"Packet driver and modules", "Host adapters", "Promiscuous mode and wireless adapters",
          "Large Segment Offload", "Troubleshooting", "Interface libraries"}) {
        EXPECT_NE(m_contents.find("value=\"" + std::string(topic) + "\""), std::string::npos) << topic;
    }
    for (const char* place : {"save", "exit", "copy", "select_all", "find", "find_next", "start_guest",
                              "start_ping", "stop_ping", "stop_guest", "buffer_sizes", "gateway", "redetect",
                              "socket_notify", "debug_flags", "show_chart", "help", "about"}) {
        EXPECT_TRUE(Resolves({}, "menu_commands.html#" + std::string(place))) << place;
    }
}

} // namespace
} // namespace vnxtest
