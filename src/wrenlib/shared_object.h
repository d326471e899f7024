// A shared library in this process: loaded by its absolute path, unloaded by the destructor. Any thread.
#pragma once

#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "wrenlib/failure.h"
#include "wrenlib/text.h"

namespace vnxtest {

class SharedObject {
public:
    // Loads the library in the file `path`, which is absolute. Not null.
    static Result<std::unique_ptr<SharedObject>> Load(const std::wstring& path);
    ~SharedObject();
    SharedObject(const SharedObject&) = delete;
    SharedObject& operator=(const SharedObject&) = delete;

    // The address of the export `name`; null if there is none.
    void* Find(const char* name) const;

    // Stores the exported function `name` in `function`. False, with `name` added to the list `missing`, if
    // there is none.
    template <typename Function>
    bool Bind(Function& function, const char* name, std::wstring& missing) const {
        static_assert(sizeof(Function) == sizeof(void*));
        void* const address = Find(name);
        // The language does not convert between data and function pointers.
        std::memcpy(&function, &address, sizeof function);
        if (address == nullptr) {
            missing += (missing.empty() ? L"" : L", ") + ToWide(name);
        }
        return address != nullptr;
    }

    // Copies the library's errno of this thread to this program's. On Windows a library may use another C
    // library, with its own errno; elsewhere there is one errno and this does nothing.
    void TakeErrno() const;

private:
    explicit SharedObject(void* module);
    void* const m_module;
    [[maybe_unused]] int* (*m_errno)() = nullptr; // where the library's errno is, if it is not this program's
};

// Loads a library of the packet driver: Npcap has its own folder below the system folder, older drivers are
// in the system folder itself. Not null; a failure's text has the places and the reason. Windows only:
// elsewhere the capture library is linked.
Result<std::unique_ptr<SharedObject>> LoadPacketDriverLibrary(const wchar_t* name);

// The absolute path of the shared library `name`. A name without a folder is looked for in the program's
// own folder and then in the system's library folders, never in the current directory; a name with a folder
// is taken as it stands, relative to the current directory if it is relative. If there is no such file the
// failure's text is a list, with commas, of the folders searched.
Result<std::wstring> FindSharedObject(std::wstring_view name);

} // namespace vnxtest
