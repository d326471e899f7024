// Why a run has failed: told on standard error when it happens, and kept for its results. Main thread.
#pragma once

#include <string>
#include <utility>

#include "cli/output/document_output.h"

namespace vnxtest {

class RunProblem {
public:
    // `output` outlives this.
    explicit RunProblem(DocumentOutput& output) : m_output(output) {}

    // Tells it, after the lines of the document that it is about; the run's problem from now on. Returns the
    // exit status.
    int Fail(std::wstring problem);
    // Fail() for a step that returns whether the command goes on: false.
    bool Refuse(std::wstring problem) {
        Fail(std::move(problem));
        return false;
    }
    // One more, which is told already.
    void Add(const std::wstring& problem);
    // Empty if nothing has failed.
    const std::wstring& Text() const { return m_text; }

private:
    DocumentOutput& m_output;
    std::wstring m_text;
};

} // namespace vnxtest
