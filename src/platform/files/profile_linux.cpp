#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <wx/app.h>
#include <wx/fileconf.h>
#include <wx/init.h>
#include <wx/log.h>
#include <wx/sstream.h>

#include "platform/files/atomic_file.h"
#include "platform/files/profile.h"
#include "wrenlib/descriptor_linux.h"
#include "wrenlib/errors.h"
#include "wrenlib/format.h"
#include "wrenlib/product.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

constexpr const char* kFolder = kProductName;
const std::string kFileName = std::string(kProductName) + ".conf";
constexpr const char* kLockName = ".lock";
// The profile holds nineteen short values; a larger file is not one.
constexpr off_t kLargestFile = 1 << 20;
// How long a write waits for another program that is writing.
constexpr std::chrono::milliseconds kLockPatience{2000};
// The writes of one set of values follow each other within this time.
constexpr std::chrono::milliseconds kOneSet{1000};

// Captures the toolkit's messages during its lifetime: its log, and its assertions, which a damaged file
// can cause (a line "=1").
class LogCapture final : public wxLog {
public:
    LogCapture()
        : m_previous(wxLog::SetActiveTarget(this)), m_previousHandler(wxSetAssertHandler(&OnAssert)) {}
    ~LogCapture() override {
        wxSetAssertHandler(m_previousHandler);
        wxLog::SetActiveTarget(m_previous);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    bool Empty() const { return m_first.empty(); }
    const std::wstring& First() const { return m_first; }

private:
    void DoLogRecord(wxLogLevel level, const wxString& message, const wxLogRecordInfo&) override {
        if (level <= wxLOG_Warning && m_first.empty()) {
            m_first = message.ToStdWstring();
        }
    }

    static void OnAssert(const wxString&, int, const wxString&, const wxString& condition, const wxString&) {
        wxLogWarning("%s", condition);
    }

    wxLog* m_previous;
    wxAssertHandler_t m_previousHandler;
    std::wstring m_first;
};

// The folder of the user's configuration files; empty if there is none. A relative XDG_CONFIG_HOME is
// ignored (XDG Base Directory).
std::string ConfigurationHome() {
    const char* configured = std::getenv("XDG_CONFIG_HOME");
    if (configured != nullptr && configured[0] == '/') {
        return configured;
    }
    const char* home = std::getenv("HOME");
    if (home == nullptr || home[0] != '/') {
        const passwd* user = getpwuid(getuid());
        home = user != nullptr ? user->pw_dir : nullptr;
    }
    return home != nullptr && home[0] == '/' ? std::string(home) + "/.config" : std::string();
}

// Makes `folder` and missing folders above it, for the user alone.
bool MakeFolders(const std::string& folder) {
    if (mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST) {
        return true;
    }
    const std::size_t slash = folder.rfind('/');
    if (errno != ENOENT || slash == 0 || slash == std::string::npos) {
        return false;
    }
    return MakeFolders(folder.substr(0, slash)) && (mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST);
}

std::optional<std::uint32_t> ParseNumber(std::wstring_view text) {
    const std::wstring trimmed = TrimBlanks(text);
    const bool hexadecimal = trimmed.starts_with(L"0x") || trimmed.starts_with(L"0X");
    const std::wstring digits = hexadecimal ? trimmed.substr(2) : trimmed;
    const std::wstring_view allowed = hexadecimal ? L"0123456789abcdefABCDEF" : L"0123456789";
    if (digits.empty() || digits.size() > 10 || digits.find_first_not_of(allowed) != std::wstring::npos) {
        return std::nullopt;
    }
    const unsigned long long value = std::wcstoull(digits.c_str(), nullptr, hexadecimal ? 16 : 10);
    return value > 0xFFFFFFFFU ? std::nullopt : std::optional(static_cast<std::uint32_t>(value));
}

// One section of a file that is read again if it changed and rewritten whole under a lock, so that two
// programs that write at once keep each other's values.
class FileProfile final : public Profile {
public:
    explicit FileProfile(ProfileSection section)
        : m_section(std::wstring(L"/") + kProfileSections[static_cast<std::size_t>(section)]) {
        // In the window the toolkit is running already.
        if (wxAppConsole::GetInstance() == nullptr) {
            m_toolkit.emplace();
        }
        const std::string home = ConfigurationHome();
        if (!home.empty()) {
            m_folder = home + "/" + kFolder;
            m_file = m_folder + "/" + kFileName;
        }
        Parse({});
    }

    std::uint32_t ReadNumber(std::wstring_view name, std::uint32_t defaultValue) override {
        const std::optional<std::wstring> text = Find(name);
        if (!text) {
            return defaultValue;
        }
        const std::optional<std::uint32_t> number = ParseNumber(*text);
        if (!number) {
            m_problem = Sprintf(L"The value %s in %s is not a number of 32 bits; its default is used.", name,
                                Location());
        }
        return number.value_or(defaultValue);
    }

    std::wstring ReadText(std::wstring_view name, std::wstring_view defaultValue) override {
        return Find(name).value_or(std::wstring(defaultValue));
    }

    bool WriteNumber(std::wstring_view name, std::uint32_t value) override {
        return Write(name, std::to_wstring(value));
    }

    bool WriteText(std::wstring_view name, std::wstring_view value) override { return Write(name, value); }

    std::wstring Location() const override { return FromUtf8(m_file); }
    std::wstring LastProblem() const override { return m_problem; }

private:
    // Identifies one state of the file: every write makes a new file.
    struct Identity {
        ino_t number = 0;
        off_t size = -1;
        timespec changed{};
        bool operator==(const Identity& other) const {
            return number == other.number && size == other.size && changed.tv_sec == other.changed.tv_sec &&
                   changed.tv_nsec == other.changed.tv_nsec;
        }
    };

    std::optional<std::wstring> Find(std::wstring_view name) {
        Refresh();
        wxString value;
        const LogCapture quiet;
        if (!m_values->Read(ValuePath(name), &value)) {
            return std::nullopt;
        }
        return value.ToStdWstring();
    }

    bool Refuse(std::wstring problem) {
        m_problem = std::move(problem);
        return false;
    }

    bool RefuseCall(const wchar_t* call, const std::string& file) {
        const int code = errno;
        return Refuse(Sprintf(L"%s of %s failed; errno=%d: %s", call, FromUtf8(file), code, StrError(code)));
    }

    // Reads the file if it changed. False if it exists but cannot be read: it must not be overwritten.
    bool Refresh() {
        if (m_file.empty()) {
            return Refuse(L"There is no home folder to keep the settings in.");
        }
        // Non-blocking: it may be a pipe without a writer.
        const Descriptor file(open(m_file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
        if (!file.IsOpen()) {
            const bool missing = errno == ENOENT;
            const bool good = missing || RefuseCall(L"open", m_file);
            if (m_identity != Identity{}) {
                m_identity = Identity{};
                Parse({});
            }
            return good;
        }
        struct stat state {};
        if (fstat(file.Get(), &state) != 0) {
            return RefuseCall(L"fstat", m_file);
        }
        const Identity identity{state.st_ino, state.st_size, state.st_mtim};
        if (identity == m_identity) {
            return m_readable;
        }
        m_identity = identity;
        m_readable = false;
        m_damaged = false;
        if (!S_ISREG(state.st_mode) || state.st_size > kLargestFile) {
            Parse({});
            return Refuse(Sprintf(L"%s is no file of settings; the defaults are used.", Location()));
        }
        std::string bytes(static_cast<std::size_t>(state.st_size), '\0');
        std::size_t length = 0;
        while (length < bytes.size()) {
            const ssize_t count = read(file.Get(), bytes.data() + length, bytes.size() - length);
            if (count < 0 && errno != EINTR) {
                Parse({});
                return RefuseCall(L"read", m_file);
            }
            if (count == 0) {
                break;
            }
            length += count > 0 ? static_cast<std::size_t>(count) : 0;
        }
        bytes.resize(length);
        Parse(bytes);
        m_readable = true;
        return true;
    }

    // Takes over the file's content; unreadable parts are left out and told in m_problem.
    void Parse(const std::string& bytes) {
        std::wstring text = FromUtf8(bytes);
        bool foreign = ToUtf8(text) != bytes;
        if (text.starts_with(L'\xFEFF')) {
            text.erase(0, 1);
        }
        for (wchar_t& c : text) {
            if (c == L'\0') {
                c = L'\xFFFD';
                foreign = true;
            }
        }
        const LogCapture log;
        wxStringInputStream stream{wxString(text)};
        m_values = std::make_unique<wxFileConfig>(stream, wxConvUTF8);
        m_values->SetExpandEnvVars(false);
        const bool twice = HasNameTwice();
        m_damaged = foreign || twice || !log.Empty();
        if (m_damaged) {
            m_damagedBytes = bytes;
            const std::wstring why = foreign ? L"not UTF-8 text" : log.First();
            m_problem = Sprintf(L"%s is damaged (%s); what cannot be read has its default.", Location(),
                                why.empty() ? L"a value is there twice" : why);
        }
    }

    // Calls `take` with the name of each value in the file's section `section`.
    void ForEachName(const wchar_t* section, const std::function<void(const wxString& name)>& take) {
        m_values->SetPath(std::wstring(L"/") + section);
        wxString name;
        long index = 0;
        for (bool more = m_values->GetFirstEntry(name, index); more;
             more = m_values->GetNextEntry(name, index)) {
            take(name);
        }
    }

    // The toolkit tells of that itself, but not where the names have its mark of what may not be changed
    // ("!"). Which of them is found then depends on how many values there are.
    bool HasNameTwice() {
        bool twice = false;
        for (const wchar_t* const section : kProfileSections) {
            std::set<std::wstring> names;
            ForEachName(section, [&](const wxString& name) {
                twice = !names.insert(name.Lower().ToStdWstring()).second || twice;
            });
        }
        return twice;
    }

    bool Write(std::wstring_view name, std::wstring_view value) {
        if (value.find(L'\0') != std::wstring_view::npos) {
            return Refuse(Sprintf(L"The value %s holds a character that cannot be stored.", name));
        }
        if (m_file.empty()) {
            return Refresh();
        }
        if (!MakeFolders(m_folder)) {
            return RefuseCall(L"mkdir", m_folder);
        }
        // The lock has a file of its own, since every write replaces the profile's.
        const std::string lockName = m_folder + "/" + kLockName;
        const Descriptor lock(open(lockName.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (!lock.IsOpen()) {
            return RefuseCall(L"open", lockName);
        }
        return TakeLock(lock, lockName) && Refresh() && Merge(name, value);
    }

    // A set of values is stored one by one: after a failed wait for the first the others do not wait.
    bool TakeLock(const Descriptor& lock, const std::string& lockName) {
        using Clock = std::chrono::steady_clock;
        const auto giveUp =
            m_gaveUp && Clock::now() - *m_gaveUp < kOneSet ? *m_gaveUp : Clock::now() + kLockPatience;
        while (flock(lock.Get(), LOCK_EX | LOCK_NB) != 0) {
            if (errno != EWOULDBLOCK && errno != EINTR) {
                return RefuseCall(L"flock", lockName);
            }
            if (Clock::now() > giveUp) {
                m_gaveUp = Clock::now();
                return RefuseCall(L"flock", lockName);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        m_gaveUp.reset();
        return true;
    }

    // Under the lock, with the file's present content in memory.
    bool Merge(std::wstring_view name, std::wstring_view value) {
        if (Find(name) == std::wstring(value)) {
            return true;
        }
        std::string bytes;
        {
            const LogCapture log;
            if (m_damaged) {
                LeaveDamageBehind();
            }
            wxString text;
            wxStringOutputStream stream(&text);
            if (!m_values->Write(ValuePath(name), wxString(std::wstring(value))) ||
                !m_values->Save(stream, wxConvUTF8) || Find(name) != std::wstring(value)) {
                m_identity.reset();
                return Refuse(
                    Sprintf(L"The value %s could not be stored in %s: %s", name, Location(), log.First()));
            }
            bytes = ToUtf8(text.ToStdWstring());
        }
        // The damaged file is kept beside the new one.
        if (m_damaged && !Replace(m_file + ".damaged", m_damagedBytes)) {
            return false;
        }
        if (!Replace(m_file, bytes)) {
            return false;
        }
        m_damaged = false;
        struct stat state {};
        m_identity = stat(m_file.c_str(), &state) == 0 ? Identity{state.st_ino, state.st_size, state.st_mtim}
                                                       : Identity{};
        return true;
    }

    // Keeps the readable values only: other lines, written back, would damage the file again, with a
    // warning at every reading.
    void LeaveDamageBehind() {
        wxStringInputStream nothing{wxString()};
        auto sound = std::make_unique<wxFileConfig>(nothing, wxConvUTF8);
        sound->SetExpandEnvVars(false);
        for (const wchar_t* const section : kProfileSections) {
            ForEachName(section, [&](const wxString& name) {
                wxString value;
                // An entry may be nameless (a line "!=1"): what names nothing would be written as a section.
                if (!name.empty() && m_values->Read(name, &value)) {
                    sound->Write(section + ("/" + name), value);
                }
            });
        }
        m_values = std::move(sound);
    }

    bool Replace(const std::string& name, const std::string& bytes) {
        AtomicFile file;
        const auto replaced = file.Open(name, FileAccess::Private, SpecialFiles::Refuse)
                                  .and_then([&] { return file.Write(bytes); })
                                  .and_then([&] { return file.Commit(); });
        if (!replaced) {
            m_identity.reset();
            return Refuse(replaced.error().text);
        }
        return true;
    }

    wxString ValuePath(std::wstring_view name) const {
        return m_section + "/" + wxString(std::wstring(name));
    }

    std::optional<wxInitializer> m_toolkit; // first, so that it ends last
    const wxString m_section;
    std::string m_folder;
    std::string m_file; // empty if there is no place for it
    std::unique_ptr<wxFileConfig> m_values;
    std::optional<Identity> m_identity; // of the content in memory; nullopt: read again
    bool m_readable = true;
    bool m_damaged = false;
    std::string m_damagedBytes;
    std::optional<std::chrono::steady_clock::time_point> m_gaveUp; // end of the last failed wait for the lock
    std::wstring m_problem;
};

} // namespace

std::unique_ptr<Profile> OpenProfile(ProfileSection section) {
    return std::make_unique<FileProfile>(section);
}

std::vector<std::filesystem::path> ProfileFiles() {
    const std::string home = ConfigurationHome();
    if (home.empty()) {
        return {};
    }
    const std::filesystem::path folder = home + "/" + kFolder;
    return {folder / kFileName, folder / kLockName};
}

} // namespace vnxtest
