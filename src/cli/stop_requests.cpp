#include "cli/stop_requests.h"

#include <chrono>
#include <utility>

#include "cli/output/console.h"
#include "cli/output/live_line.h"
#include "platform/process/terminal.h"

namespace vnxtest {

namespace {

// Requests within this time count as one.
constexpr std::chrono::milliseconds kOneRequest(15);
constexpr std::chrono::milliseconds kLastWords(100);

class StopRequests {
public:
    StopRequests(MessageQueue& queue, std::vector<std::filesystem::path> temporaryFiles)
        : m_queue(&queue), m_temporaryFiles(std::move(temporaryFiles)) {}

    void operator()(int count) {
        if (count == 1) {
            m_first = std::chrono::steady_clock::now();
            if (IsTerminal(stderr)) {
                Complain(L"stopping; a second interrupt ends the program at once.");
            }
            m_queue->PostInterrupt();
            return;
        }
        // One request can come twice: to the program and to its process group.
        if (std::chrono::steady_clock::now() - m_first < kOneRequest) {
            return;
        }
        LiveLine::Hide();
        Complain(L"ended at once by a second interrupt.");
        for (const std::filesystem::path& file : m_temporaryFiles) {
            if (std::error_code ignored; !file.empty()) {
                std::filesystem::remove(file, ignored);
            }
        }
        AwaitComplaints(kLastWords);
        EndProcessAtOnce(kExitFailure);
    }

private:
    MessageQueue* m_queue;
    std::vector<std::filesystem::path> m_temporaryFiles;
    MessageQueue::Moment m_first{};
};

} // namespace

Result<std::unique_ptr<StopSignal>> TakeStopRequests(MessageQueue& queue,
                                                     std::vector<std::filesystem::path> temporaryFiles) {
    return StopSignal::Begin(StopRequests(queue, std::move(temporaryFiles)),
                             [&queue] { queue.PostQuestion(); });
}

} // namespace vnxtest
