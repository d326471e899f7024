// A shared library in this process: loaded by its absolute path, unloaded at the end.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

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

private:
    explicit SharedObject(void* module) : m_module(module) {}
    void* const m_module;
};

// Nothing when a library that the user names may run in this process; else a sentence why not: the
// process has rights that its user has not (Linux: a program file with capabilities or the set-user-ID
// bit), and code of the user's would get them.
std::optional<std::wstring> WhyNoForeignCode();

// The absolute path of the shared library `name`. A name without a folder is looked for in the
// program's own folder and then in the system's library folders, never in the current directory; a
// name with a folder is taken as it stands, relative to the current directory if it is relative.
// Nothing when there is no such file; `places` then says where it was looked for.
std::optional<std::wstring> FindSharedObject(std::wstring_view name, std::wstring& places);

} // namespace vnxtest
