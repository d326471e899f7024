#include <windows.h>

#include <string>
#include <vector>

#include "platform/files/profile.h"
#include "wrenlib/errors.h"
#include "wrenlib/format.h"
#include "wrenlib/product.h"

namespace vnxtest {

namespace {

std::wstring KeyPath(ProfileSection section) {
    return Sprintf(L"Software\\%s\\%s\\%s", kWideCompanyName, kWideProductName,
                   kProfileSections[static_cast<std::size_t>(section)]);
}

class Key {
public:
    explicit Key(const wchar_t* path) : m_path(path) {}
    ~Key() {
        if (m_key != nullptr) {
            RegCloseKey(m_key);
        }
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    LSTATUS OpenForReading() { return RegOpenKeyExW(HKEY_CURRENT_USER, m_path, 0, KEY_QUERY_VALUE, &m_key); }
    LSTATUS OpenForWriting() {
        return RegCreateKeyExW(HKEY_CURRENT_USER, m_path, 0, nullptr, 0, KEY_SET_VALUE, nullptr, &m_key,
                               nullptr);
    }
    HKEY Get() const { return m_key; }

private:
    const wchar_t* m_path;
    HKEY m_key = nullptr;
};

// Each value is written by one call of the system, so other programs see it whole or not at all.
class RegistryProfile final : public Profile {
public:
    explicit RegistryProfile(ProfileSection section) : m_keyPath(KeyPath(section)) {}

    std::uint32_t ReadNumber(std::wstring_view name, std::uint32_t defaultValue) override {
        const std::wstring value(name);
        DWORD number = 0;
        DWORD size = sizeof number;
        DWORD kind = REG_NONE;
        Key key(m_keyPath.c_str());
        LSTATUS result = key.OpenForReading();
        if (result == ERROR_SUCCESS) {
            result = RegQueryValueExW(key.Get(), value.c_str(), nullptr, &kind,
                                      reinterpret_cast<BYTE*>(&number), &size);
        }
        // A value longer than a number is none.
        if (result == ERROR_MORE_DATA) {
            result = ERROR_SUCCESS;
        }
        if (!MayUse(L"RegQueryValueEx", value, result) || result != ERROR_SUCCESS) {
            return defaultValue;
        }
        if (kind != REG_DWORD || size != sizeof number) {
            m_problem = Sprintf(L"The value %s in %s is not a number of 32 bits; its default is used.", value,
                                Location());
            return defaultValue;
        }
        return number;
    }

    std::wstring ReadText(std::wstring_view name, std::wstring_view defaultValue) override {
        const std::wstring value(name);
        Key key(m_keyPath.c_str());
        LSTATUS result = key.OpenForReading();
        std::vector<wchar_t> text(64);
        DWORD kind = REG_NONE;
        DWORD size = 0;
        while (result == ERROR_SUCCESS) {
            size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
            result = RegQueryValueExW(key.Get(), value.c_str(), nullptr, &kind,
                                      reinterpret_cast<BYTE*>(text.data()), &size);
            if (result != ERROR_MORE_DATA || size > (1U << 20)) {
                break;
            }
            text.resize(size / sizeof(wchar_t) + 1);
            result = ERROR_SUCCESS;
        }
        if (!MayUse(L"RegQueryValueEx", value, result) || result != ERROR_SUCCESS) {
            return std::wstring(defaultValue);
        }
        if (kind != REG_SZ) {
            m_problem = Sprintf(L"The value %s in %s is not a text; its default is used.", value, Location());
            return std::wstring(defaultValue);
        }
        // The stored text need not end in a NUL, and may hold one.
        const std::wstring stored(text.data(), size / sizeof(wchar_t));
        return stored.substr(0, stored.find(L'\0'));
    }

    bool WriteNumber(std::wstring_view name, std::uint32_t value) override {
        const DWORD number = value;
        return Write(name, REG_DWORD, &number, sizeof number);
    }

    bool WriteText(std::wstring_view name, std::wstring_view value) override {
        const std::wstring text(value);
        if (text.find(L'\0') != std::wstring::npos) {
            m_problem = Sprintf(L"The value %s holds a character that cannot be stored.", name);
            return false;
        }
        return Write(name, REG_SZ, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
    }

    std::wstring Location() const override { return L"HKEY_CURRENT_USER\\" + m_keyPath; }
    std::wstring LastProblem() const override { return m_problem; }

private:
    // False if the call failed, except because the key or value does not exist yet.
    bool MayUse(const wchar_t* call, const std::wstring& name, LSTATUS result) {
        if (result == ERROR_SUCCESS || result == ERROR_FILE_NOT_FOUND) {
            return true;
        }
        m_problem = Sprintf(L"%s of %s\\%s failed; rc=%d: %s", call, Location(), name, result,
                            FormatLastError(static_cast<std::uint32_t>(result)));
        return false;
    }

    bool Write(std::wstring_view name, DWORD kind, const void* bytes, std::size_t size) {
        const std::wstring value(name);
        Key key(m_keyPath.c_str());
        LSTATUS result = key.OpenForWriting();
        if (result == ERROR_SUCCESS) {
            result = RegSetValueExW(key.Get(), value.c_str(), 0, kind, static_cast<const BYTE*>(bytes),
                                    static_cast<DWORD>(size));
        }
        return result == ERROR_SUCCESS || (MayUse(L"RegSetValueEx", value, result) && Missing(value));
    }

    // Writing makes the key: not found means that it was removed in between.
    bool Missing(const std::wstring& name) {
        m_problem = Sprintf(L"%s\\%s could not be written: the key was removed meanwhile.", Location(), name);
        return false;
    }

    std::wstring m_keyPath;
    std::wstring m_problem;
};

} // namespace

std::unique_ptr<Profile> OpenProfile(ProfileSection section) {
    return std::make_unique<RegistryProfile>(section);
}

std::vector<std::filesystem::path> ProfileFiles() {
    return {};
}

} // namespace vnxtest
