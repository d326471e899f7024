// A shared library in this process: loaded by its absolute path, unloaded at the end.
#pragma once

#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "wrenlib/text.h"

namespace vnxtest {

class SharedObject {
public:
    // Loads the library in the file `path`, which is absolute. Null and the system's own text of
    // what went wrong in `error`.
    static std::unique_ptr<SharedObject> Load(const std::wstring& path, std::wstring& error);
    ~SharedObject();
    SharedObject(const SharedObject&) = delete;
    SharedObject& operator=(const SharedObject&) = delete;

    // The address of what the library exports under `name`; null when it exports no such thing.
    void* Find(const char* name) const;

    // Puts the function that the library exports under `name` into `function`. False, and `name` added to
    // `missing`, a list with commas, when it exports no such thing.
    template <typename Function>
    bool Bind(Function& function, const char* name, std::wstring& missing) const {
        static_assert(sizeof(Function) == sizeof(void*));
        void* const address = Find(name);
        // Data and function pointers are not converted into each other by the language.
        std::memcpy(&function, &address, sizeof function);
        if (address == nullptr) {
            missing += (missing.empty() ? L"" : L", ") + ToWide(name);
        }
        return address != nullptr;
    }

    // Puts the errno that the library has just set on this thread into this program's. On Windows a library
    // may stand on a C library of its own, with an errno of its own; otherwise there is but one.
    void TakeErrno() const;

private:
    explicit SharedObject(void* module);
    void* const m_module;
    [[maybe_unused]] int* (*m_errno)() = nullptr; // where the library's errno is, if it is not this program's
};

// Loads a library of the packet driver that captures for this program, as libraries of one driver lie
// together: Npcap has a folder of its own below the system folder, older drivers lie in the system folder
// itself. Null, with where it was looked for and why it was not loaded in `error`. Windows only: elsewhere
// the capture library is linked.
std::unique_ptr<SharedObject> LoadPacketDriverLibrary(const wchar_t* name, std::wstring& error);

// The absolute path of the shared library `name`. A name without a folder is looked for in the
// program's own folder and then in the system's library folders, never in the current directory; a
// name with a folder is taken as it stands, relative to the current directory if it is relative.
// Nothing when there is no such file; `places` then says where it was looked for.
std::optional<std::wstring> FindSharedObject(std::wstring_view name, std::wstring& places);

} // namespace vnxtest
