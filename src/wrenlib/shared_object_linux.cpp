#include <cstddef>
#include <filesystem>
#include <vector>

#include <dlfcn.h>
#include <link.h>

#include "wrenlib/shared_object.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

namespace fs = std::filesystem;

std::wstring Text(const fs::path& path) {
    return ToWide(path.string());
}

// The folders the dynamic linker searches, beside the program's own.
std::vector<fs::path> SystemLibraryFolders() {
    std::vector<fs::path> folders;
    // The search list of the program itself: its run path, the environment's folders, and those of the
    // system. Only the loader knows the architecture's own ones.
    if (void* self = dlopen(nullptr, RTLD_LAZY)) {
        Dl_serinfo size{};
        if (dlinfo(self, RTLD_DI_SERINFOSIZE, &size) == 0) {
            std::vector<std::max_align_t> space(size.dls_size / sizeof(std::max_align_t) + 1);
            auto* list = reinterpret_cast<Dl_serinfo*>(space.data());
            if (dlinfo(self, RTLD_DI_SERINFOSIZE, list) == 0 && dlinfo(self, RTLD_DI_SERINFO, list) == 0) {
                for (unsigned i = 0; i < list->dls_cnt; ++i) {
                    const fs::path folder = list->dls_serpath[i].dls_name;
                    // A relative or empty entry would mean the current directory.
                    if (folder.is_absolute()) {
                        folders.push_back(folder);
                    }
                }
            }
        }
        dlclose(self);
    }
    return folders;
}

} // namespace

Result<std::unique_ptr<SharedObject>> SharedObject::Load(const std::wstring& path) {
    const std::string file = ToNarrow(path);
    if (void* module = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)) {
        return std::unique_ptr<SharedObject>(new SharedObject(module));
    }
    const char* text = dlerror();
    return NoValue(Failure{L"dlopen", 0, 0, ToWide(text ? text : "unknown error")});
}

SharedObject::SharedObject(void* module) : m_module(module) {}

SharedObject::~SharedObject() {
    dlclose(m_module);
}

void SharedObject::TakeErrno() const {}

void* SharedObject::Find(const char* name) const {
    return dlsym(m_module, name);
}

Result<std::wstring> FindSharedObject(std::wstring_view name) {
    std::error_code ignored;
    const fs::path wanted = ToNarrow(name);
    if (wanted.has_parent_path()) {
        const fs::path path = fs::absolute(wanted, ignored).lexically_normal();
        if (fs::exists(path, ignored)) {
            return Text(path);
        }
        return Refused(Text(path.parent_path()));
    }
    std::vector<fs::path> folders = SystemLibraryFolders();
    const fs::path program = fs::read_symlink("/proc/self/exe", ignored);
    if (!program.empty()) {
        folders.insert(folders.begin(), program.parent_path());
    }
    std::wstring places;
    for (const fs::path& folder : folders) {
        const fs::path path = folder / wanted;
        if (fs::is_regular_file(path, ignored)) {
            return Text(path);
        }
        places += (places.empty() ? L"" : L", ") + Text(folder);
    }
    return Refused(std::move(places));
}

} // namespace vnxtest
