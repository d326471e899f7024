#include "platform/files/block_file.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/files/file_place_linux.h"
#include "wrenlib/errors.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"

namespace vnxtest {

struct BlockFile::State {
    FilePlace place;
    Descriptor file;
    struct stat status {};
    bool isNew = false; // made here, and empty so far
    off_t length = 0;   // of an ordinary file, since Begin()

    ~State() {
        struct stat now {};
        if (isNew && fstatat(place.folder.Get(), place.name.c_str(), &now, AT_SYMLINK_NOFOLLOW) == 0 &&
            IsSameFile(now, status) && now.st_size == 0) {
            unlinkat(place.folder.Get(), place.name.c_str(), 0);
        }
    }

    // False with errno.
    bool OpenPlace();
};

bool BlockFile::State::OpenPlace() {
    constexpr int kHow = O_WRONLY | O_CLOEXEC | O_NOCTTY;
    if (place.isDescriptorLink) {
        file = Descriptor(openat(place.folder.Get(), place.name.c_str(), kHow | O_APPEND));
    } else if (place.exists) {
        file = Descriptor(openat(place.folder.Get(), place.name.c_str(), kHow | O_NOFOLLOW));
    } else {
        file = Descriptor(
            openat(place.folder.Get(), place.name.c_str(), kHow | O_NOFOLLOW | O_CREAT | O_EXCL, 0600));
        isNew = file.IsOpen();
    }
    if (!file.IsOpen() || fstat(file.Get(), &status) != 0) {
        return false;
    }
    if (place.exists && !place.isDescriptorLink && !IsSameFile(status, place.status)) {
        errno = ESTALE; // was another file a moment ago
        return false;
    }
    return true;
}

BlockFile::BlockFile() = default;
BlockFile::~BlockFile() = default;
BlockFile::BlockFile(BlockFile&& other) noexcept = default;
BlockFile& BlockFile::operator=(BlockFile&& other) noexcept = default;

NoValue BlockFile::Fail(const wchar_t* call) const {
    auto failed = FailedCall(call);
    Failure& failure = failed.value();
    failure.text = Sprintf(L"%s %s failed; errno=%d: %s", call, FromUtf8(m_path.native()), failure.errnoValue,
                           StrError(failure.errnoValue));
    return failed;
}

NoValue BlockFile::GiveUp(const wchar_t* call) {
    auto failed = Fail(call);
    m_state.reset();
    return failed;
}

NoValue BlockFile::Refuse(const wchar_t* reason) {
    m_state.reset();
    return Refused(FromUtf8(m_path.native()) + L" " + reason);
}

Result<void> BlockFile::Open(const std::filesystem::path& path) {
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
    if (place.exists && !MayReplace(place) &&
        (S_ISREG(place.status.st_mode) || S_ISFIFO(place.status.st_mode))) {
        return Refuse(kFileOfSomebodyElse);
    }
    if (!m_state->OpenPlace()) {
        return GiveUp(L"open of");
    }
    // Two writers would leave a file that nobody can read. A file system without locks is no reason to
    // refuse.
    if (IsOrdinary() && !place.isDescriptorLink && flock(m_state->file.Get(), LOCK_EX | LOCK_NB) != 0 &&
        errno == EWOULDBLOCK) {
        return Refuse(L"is being written by another capture.");
    }
    return {};
}

Result<void> BlockFile::OpenStandardOutput() {
    m_path = L"standard output";
    m_state = std::make_unique<State>();
    m_state->place.isDescriptorLink = true; // what is there stays
    m_state->file = Descriptor(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0));
    if (!m_state->file.IsOpen() || fstat(m_state->file.Get(), &m_state->status) != 0) {
        return GiveUp(L"fcntl of");
    }
    return {};
}

Result<void> BlockFile::Begin() {
    m_state->isNew = false; // it stays from now on
    if (IsOrdinary() && !m_state->place.isDescriptorLink && ftruncate(m_state->file.Get(), 0) != 0) {
        return Fail(L"ftruncate of");
    }
    if (IsOrdinary()) {
        const bool appends = (fcntl(m_state->file.Get(), F_GETFL) & O_APPEND) != 0;
        m_state->length = lseek(m_state->file.Get(), 0, appends ? SEEK_END : SEEK_CUR);
    }
    return {};
}

Result<void> BlockFile::Append(std::span<const std::uint8_t> blocks) {
    m_written = 0;
    while (m_written < blocks.size()) {
        const ssize_t written =
            write(m_state->file.Get(), blocks.data() + m_written, blocks.size() - m_written);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            return Fail(L"write of");
        }
        m_written += static_cast<std::size_t>(written);
        m_state->length += static_cast<off_t>(written);
    }
    return {};
}

std::size_t BlockFile::Written() const {
    return m_written;
}

Result<void> BlockFile::CutBack(std::size_t count) {
    if (!IsOrdinary() || count == 0) {
        return {};
    }
    m_state->length -= static_cast<off_t>(count);
    if (ftruncate(m_state->file.Get(), m_state->length) != 0 ||
        lseek(m_state->file.Get(), m_state->length, SEEK_SET) < 0) {
        return Fail(L"ftruncate of");
    }
    return {};
}

Result<void> BlockFile::Close() {
    if (m_state && !m_state->file.Close()) {
        return GiveUp(L"close of");
    }
    m_state.reset();
    return {};
}

bool BlockFile::IsOrdinary() const {
    return IsOpen() && S_ISREG(m_state->status.st_mode);
}

bool BlockFile::IsTerminal() const {
    return IsOpen() && isatty(m_state->file.Get()) != 0;
}

bool BlockFile::IsSameAs(const std::filesystem::path& path) const {
    struct stat other {};
    return IsOpen() && stat(path.c_str(), &other) == 0 && IsSameFile(other, m_state->status);
}

bool BlockFile::IsSameAs(std::FILE* stream) const {
    struct stat other {};
    return IsOrdinary() && fstat(fileno(stream), &other) == 0 && IsSameFile(other, m_state->status);
}

} // namespace vnxtest
