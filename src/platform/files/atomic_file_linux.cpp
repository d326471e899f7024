#include "platform/files/atomic_file.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/files/file_access_linux.h"
#include "platform/files/file_place_linux.h"
#include "platform/files/temporary_file_linux.h"
#include "wrenlib/errors.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"

namespace vnxtest {

struct AtomicFile::State {
    FilePlace place;
    Descriptor file;
    bool writtenThrough = false;
    std::string temporary; // its name in the folder; empty while it has none

    // Each returns null, or the call that failed, with errno.
    const wchar_t* OpenDirectly();
    const wchar_t* Create(FileAccess access);
    const wchar_t* PutInPlace();
};

const wchar_t* AtomicFile::State::OpenDirectly() {
    // A descriptor's link may lead to an ordinary file, whose content stays.
    const int how = place.isDescriptorLink ? O_APPEND : O_NOFOLLOW;
    file = Descriptor(openat(place.folder.Get(), place.name.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY | how));
    struct stat opened {};
    if (!file.IsOpen() || fstat(file.Get(), &opened) != 0) {
        return L"open of";
    }
    if (S_ISREG(opened.st_mode) && !place.isDescriptorLink) {
        errno = ESTALE; // was a pipe or a device a moment ago
        return L"open of";
    }
    place.status = opened;
    writtenThrough = true;
    return nullptr;
}

const wchar_t* AtomicFile::State::Create(FileAccess access) {
    Descriptor existing;
    if (place.exists && access == FileAccess::Document) {
        // Replacing a file without write permission would bypass its protection.
        existing = Descriptor(openat(place.folder.Get(), place.name.c_str(),
                                     O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
        struct stat opened {};
        if (!existing.IsOpen() || fstat(existing.Get(), &opened) != 0) {
            return L"open of";
        }
        if (!IsSameFile(opened, place.status)) {
            errno = ESTALE;
            return L"open of";
        }
        place.status = opened;
    }
    RemoveLeftovers(place.folder);
    const bool usual = !place.exists && access == FileAccess::Document;
    const mode_t mode = usual ? 0666 : 0600; // the kernel applies the umask
    file = CreateUnnamed(place.folder, mode);
    if (!file.IsOpen()) {
        file = CreateNamed(place.folder, mode, temporary);
    }
    if (!file.IsOpen()) {
        return L"creation of a temporary file beside";
    }
    return place.exists && !TakeOverAccess(file, existing, place.status, access) ? L"fchmod of" : nullptr;
}

const wchar_t* AtomicFile::State::PutInPlace() {
    if (fsync(file.Get()) != 0) {
        return L"fsync of";
    }
    if (temporary.empty() && !place.exists && LinkAs(file, place.folder, place.name)) {
        return nullptr;
    }
    for (int attempt = 0; temporary.empty(); ++attempt) {
        const std::string name = TemporaryName();
        if (LinkAs(file, place.folder, name)) {
            temporary = name;
        } else if (errno != EEXIST || attempt == kTemporaryNames) {
            return L"linkat of";
        }
    }
    if (renameat(place.folder.Get(), temporary.c_str(), place.folder.Get(), place.name.c_str()) != 0) {
        return L"rename of";
    }
    temporary.clear();
    return nullptr;
}

AtomicFile::AtomicFile() = default;

AtomicFile::~AtomicFile() {
    Discard();
}

NoValue AtomicFile::Fail(const wchar_t* call) {
    auto failed = FailedCall(call);
    Failure& failure = failed.value();
    failure.text = Sprintf(L"%s %s failed; errno=%d: %s", call, FromUtf8(m_path.native()), failure.errnoValue,
                           StrError(failure.errnoValue));
    m_failure = failure;
    return failed;
}

NoValue AtomicFile::GiveUp(const wchar_t* call) {
    auto failed = Fail(call);
    Discard();
    return failed;
}

NoValue AtomicFile::Refuse(const wchar_t* reason) {
    auto refused = Refused(FromUtf8(m_path.native()) + L" " + reason);
    m_failure = refused.value();
    Discard();
    return refused;
}

// What every call returns after a failure, or while nothing is open.
NoValue AtomicFile::AsBefore() const {
    return m_failure ? NoValue(*m_failure) : FailedCall(L"write of", kErrorInvalidParameter);
}

Result<void> AtomicFile::Open(const std::filesystem::path& path, FileAccess access, SpecialFiles special) {
    Discard();
    m_failure.reset();
    m_path = path;
    m_state = std::make_unique<State>();
    FilePlace& place = m_state->place;
    switch (FindPlace(path, place)) {
    case PlaceSearch::Found:
        break;
    case PlaceSearch::LinkOfSomebodyElse:
        return Refuse(kLinkOfSomebodyElse);
    case PlaceSearch::Failed:
        return GiveUp(L"open of");
    }
    const wchar_t* failed = nullptr;
    if (place.exists && S_ISDIR(place.status.st_mode)) {
        errno = EISDIR;
        failed = L"open of";
    } else if (place.exists && !S_ISREG(place.status.st_mode) && special == SpecialFiles::Refuse) {
        return Refuse(
            L"is no ordinary file but a pipe or a device, which cannot be replaced. Choose another name.");
    } else if (place.exists && !MayReplace(place) &&
               (S_ISREG(place.status.st_mode) || S_ISFIFO(place.status.st_mode))) {
        return Refuse(kFileOfSomebodyElse);
    } else if (place.exists && !S_ISREG(place.status.st_mode)) {
        failed = m_state->OpenDirectly();
    } else {
        failed = m_state->Create(access);
    }
    if (failed != nullptr) {
        return GiveUp(failed);
    }
    return {};
}

Result<void> AtomicFile::Write(std::string_view bytes) {
    if (!IsOpen() || m_failure) {
        return AsBefore();
    }
    while (!bytes.empty()) {
        const ssize_t written = write(m_state->file.Get(), bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            return Fail(L"write of");
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return {};
}

Result<void> AtomicFile::Commit() {
    if (!IsOpen() || m_failure) {
        Discard();
        return AsBefore();
    }
    const wchar_t* const failed = m_state->writtenThrough ? nullptr : m_state->PutInPlace();
    if (failed != nullptr) {
        return GiveUp(failed);
    }
    if (!m_state->file.Close()) {
        return GiveUp(L"close of");
    }
    Discard();
    return {};
}

void AtomicFile::Discard() {
    const ErrorKeeper keeper;
    if (m_state && !m_state->temporary.empty()) {
        unlinkat(m_state->place.folder.Get(), m_state->temporary.c_str(), 0);
    }
    m_state.reset();
}

bool AtomicFile::IsOpen() const {
    return m_state != nullptr;
}

bool AtomicFile::IsWrittenThrough() const {
    return IsOpen() && m_state->writtenThrough;
}

bool AtomicFile::IsSameAs(const AtomicFile& other) const {
    if (!IsOpen() || !other.IsOpen()) {
        return false;
    }
    const FilePlace& here = m_state->place;
    const FilePlace& there = other.m_state->place;
    if (here.exists || there.exists) {
        return here.exists && there.exists && IsSameFile(here.status, there.status);
    }
    return here.name == there.name && IsSameFile(here.folderStatus, there.folderStatus);
}

bool AtomicFile::IsSameAs(const std::filesystem::path& path) const {
    if (!IsOpen()) {
        return false;
    }
    const FilePlace& place = m_state->place;
    struct stat status {};
    if (place.exists) {
        return stat(path.c_str(), &status) == 0 && IsSameFile(status, place.status);
    }
    const std::filesystem::path folder = path.has_parent_path() ? path.parent_path() : ".";
    return path.filename() == place.name && stat(folder.c_str(), &status) == 0 &&
           IsSameFile(status, place.folderStatus);
}

bool AtomicFile::IsSameAs(std::FILE* stream) const {
    struct stat status {};
    return IsOpen() && m_state->place.exists && fstat(fileno(stream), &status) == 0 &&
           S_ISREG(status.st_mode) && IsSameFile(status, m_state->place.status);
}

std::filesystem::path AtomicFile::TemporaryPath() const {
    return IsOpen() && !m_state->temporary.empty() ? m_path.parent_path() / m_state->temporary
                                                   : std::filesystem::path();
}

} // namespace vnxtest
