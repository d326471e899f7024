// The result of the last ping test, kept for export until the next one has ended: what the guest and its test
// tell of it is gone when they are started again. User-interface thread.
#pragma once

#include <memory>
#include <string>

#include "guest/engine.h"
#include "ping/ping_test.h"

namespace vnxtest {

struct RunResults;

class LastTest {
public:
    LastTest();
    ~LastTest();
    LastTest(const LastTest&) = delete;
    LastTest& operator=(const LastTest&) = delete;

    // A test has ended: takes its result and what is known of its run.
    void Keep(Engine& engine);
    // The guest has stopped, and its interfaces have their last figures.
    void KeepInterfaces(Engine& engine);
    // The guest is about to start again: what it tells from now on is of another run.
    void EndRun() { m_sameRun = false; }

    // True if there is one.
    bool IsThere() const { return m_isThere; }
    // The results as the terminal program saves them (docs/json.md), and as text. UTF-8, lines end in "\n".
    std::string AsJson() const;
    std::string AsText() const;

private:
    bool m_isThere = false;
    bool m_sameRun = false;
    PingTestResult m_result;
    std::unique_ptr<RunResults> m_run; // what is known of its run
};

} // namespace vnxtest
