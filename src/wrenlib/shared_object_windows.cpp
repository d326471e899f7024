#include <cerrno>
#include <cstddef>
#include <vector>

#include <windows.h>

#include "wrenlib/errors.h"
#include "wrenlib/shared_object.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

std::wstring ProgramFolder() {
    std::vector<wchar_t> path(32768);
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    const std::wstring_view program(path.data(), length);
    const std::size_t end = program.find_last_of(L"\\/");
    return std::wstring(program.substr(0, end == std::wstring_view::npos ? 0 : end));
}

std::wstring SystemFolder() {
    wchar_t path[MAX_PATH] = {};
    return std::wstring(path, GetSystemDirectoryW(path, MAX_PATH));
}

bool IsFile(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

} // namespace

Result<std::unique_ptr<SharedObject>> SharedObject::Load(const std::wstring& path) {
    // Libraries that it needs itself are looked for beside it and in the system folder only.
    if (HMODULE module =
            LoadLibraryExW(path.c_str(), nullptr,
                           LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_APPLICATION_DIR |
                               LOAD_LIBRARY_SEARCH_SYSTEM32)) {
        return std::unique_ptr<SharedObject>(new SharedObject(module));
    }
    return FailedCall(L"LoadLibraryEx");
}

SharedObject::SharedObject(void* module) : m_module(module) {
    const auto* const base = static_cast<const std::byte*>(module);
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    if (imports.VirtualAddress == 0) {
        return;
    }
    for (const auto* import = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + imports.VirtualAddress);
         import->Name != 0; ++import) {
        const HMODULE imported = GetModuleHandleA(reinterpret_cast<const char*>(base + import->Name));
        void* const address =
            imported != nullptr ? reinterpret_cast<void*>(GetProcAddress(imported, "_errno")) : nullptr;
        if (const auto place = reinterpret_cast<int* (*)()>(address); place != nullptr && place() != &errno) {
            m_errno = place;
        }
    }
}

void SharedObject::TakeErrno() const {
    if (m_errno != nullptr) {
        const DWORD code = GetLastError();
        errno = *m_errno();
        ::SetLastError(code);
    }
}

SharedObject::~SharedObject() {
    FreeLibrary(static_cast<HMODULE>(m_module));
}

void* SharedObject::Find(const char* name) const {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(m_module), name));
}

Result<std::unique_ptr<SharedObject>> LoadPacketDriverLibrary(const wchar_t* name) {
    std::wstring tried;
    for (const wchar_t* const folder : {L"\\Npcap\\", L"\\"}) {
        const std::wstring path = SystemFolder() + folder + name;
        Result<std::unique_ptr<SharedObject>> library = FailedCall(L"LoadLibraryEx", ERROR_MOD_NOT_FOUND);
        if (IsFile(path)) {
            library = SharedObject::Load(path);
        }
        if (library) {
            return library;
        }
        tried += (tried.empty() ? L"" : L" ") + EndSentence(path + L": " + library.error().Describe());
    }
    return Refused(std::move(tried));
}

Result<std::wstring> FindSharedObject(std::wstring_view name) {
    const std::wstring wanted(name);
    if (wanted.find_first_of(L"\\/:") != std::wstring::npos) {
        std::vector<wchar_t> path(32768);
        const DWORD length =
            GetFullPathNameW(wanted.c_str(), static_cast<DWORD>(path.size()), path.data(), nullptr);
        const std::wstring full(path.data(), length);
        if (length > 0 && IsFile(full)) {
            return full;
        }
        return Refused(full.substr(0, full.find_last_of(L"\\/")));
    }
    std::wstring places;
    for (const std::wstring& folder : {ProgramFolder(), SystemFolder()}) {
        const std::wstring path = folder + L"\\" + wanted;
        if (!folder.empty() && IsFile(path)) {
            return path;
        }
        places += (places.empty() ? L"" : L", ") + folder;
    }
    return Refused(std::move(places));
}

} // namespace vnxtest
