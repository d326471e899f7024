// A profile in memory, whose writes can be made to fail.
#pragma once

#include <map>
#include <string>

#include "platform/files/profile.h"

namespace vnxtest {

class MemoryProfile : public Profile {
public:
    std::uint32_t ReadNumber(std::wstring_view name, std::uint32_t defaultValue) override {
        return Read(numbers, name, defaultValue);
    }
    std::wstring ReadText(std::wstring_view name, std::wstring_view defaultValue) override {
        return Read(texts, name, std::wstring(defaultValue));
    }
    bool WriteNumber(std::wstring_view name, std::uint32_t value) override {
        return !refusing && (numbers[std::wstring(name)] = value, true);
    }
    bool WriteText(std::wstring_view name, std::wstring_view value) override {
        return !refusing && (texts[std::wstring(name)] = value, true);
    }
    std::wstring Location() const override { return L"memory"; }
    std::wstring LastProblem() const override { return {}; }

    std::map<std::wstring, std::uint32_t> numbers;
    std::map<std::wstring, std::wstring> texts;
    bool refusing = false;

private:
    template <typename Value>
    static Value Read(const std::map<std::wstring, Value>& values, std::wstring_view name,
                      Value defaultValue) {
        const auto found = values.find(std::wstring(name));
        return found != values.end() ? found->second : defaultValue;
    }
};

} // namespace vnxtest
