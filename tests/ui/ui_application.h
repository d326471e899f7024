// A toolkit application for tests that make windows, and a way to let its events happen.
#pragma once

#include <chrono>
#include <functional>

#include <gtest/gtest.h>
#include <wx/app.h>
#include <wx/frame.h>

namespace vnxtest {

// Whether there is a display; made once per process.
bool HasDisplay();

// Runs the event loop, idle handling included, until `done` says so. False when it did not in time.
bool RunUntil(const std::function<bool()>& done,
              std::chrono::milliseconds limit = std::chrono::milliseconds(60'000));

// A case with a shown frame; skipped where there is no display.
class WindowTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    wxFrame* m_frame = nullptr;
};

} // namespace vnxtest
