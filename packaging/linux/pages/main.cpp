// Fills a template of a manual page or of a completion: vnxtest-pages TEMPLATE OUTPUT PROGRAM
// [NAME=VALUE...].
//
// Each "@NAME@" is replaced by what the programs' sources, or the command line, say; a name that neither
// knows is an error. Part of the build, not of the product.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "filling.h"
#include "wrenlib/product.h"

namespace vnxtest {
namespace {

bool IsName(std::string_view text) {
    return !text.empty() && text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ_") == std::string_view::npos;
}

std::string Filled(std::string_view rest, const Fillings& fillings) {
    std::string text;
    for (std::size_t at = rest.find('@'); at != std::string_view::npos; at = rest.find('@')) {
        text += rest.substr(0, at);
        rest.remove_prefix(at + 1);
        const std::string_view name = rest.substr(0, rest.find('@'));
        if (name.size() == rest.size() || !IsName(name)) {
            text += '@'; // an ordinary sign
            continue;
        }
        const auto filling = fillings.find(name);
        if (filling == fillings.end()) {
            throw std::runtime_error("nothing is known for @" + std::string(name) + "@");
        }
        rest.remove_prefix(name.size() + 1);
        // A filling of whole lines takes the place of its line.
        const bool wholeLines = filling->second.ends_with('\n') && rest.starts_with('\n');
        text += filling->second;
        rest.remove_prefix(wholeLines ? 1 : 0);
    }
    return text + std::string(rest);
}

void Fill(const char* from, const char* to, const Fillings& fillings) {
    std::ifstream input(from, std::ios::binary);
    const std::string shape{std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>()};
    const std::string filled = Filled(shape, fillings);
    std::ofstream output(to, std::ios::binary);
    if (!input || shape.empty() ||
        !output.write(filled.data(), static_cast<std::streamsize>(filled.size())).flush()) {
        throw std::runtime_error("cannot be read, or not be written");
    }
}

} // namespace
} // namespace vnxtest

int main(int argc, char** argv) {
    using namespace vnxtest;
    if (argc < 4) {
        std::fputs("vnxtest-pages TEMPLATE OUTPUT PROGRAM [NAME=VALUE...]\n", stderr);
        return 2;
    }
    try {
        const Grammar grammar;
        Fillings fillings{{"VERSION", kProductAndVersion}, {"PRODUCT", kProductName}};
        AddManual(grammar, fillings);
        AddProfile(fillings);
        AddCompletions(grammar, argv[3], fillings);
        for (int index = 4; index < argc; ++index) {
            const std::string given = argv[index];
            fillings[given.substr(0, given.find('='))] = given.substr(given.find('=') + 1);
        }
        Fill(argv[1], argv[2], fillings);
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "vnxtest-pages: %s: %s\n", argv[1], problem.what());
        return 1;
    }
    return 0;
}
