#include "fakes/ScriptedHttpTransport.h"

#include <algorithm>
#include <utility>

namespace fakes {

using namespace HttpDownloader::HttpDownloadResultEnum;

bool ScriptedHttpTransport::start(Transfer transfer) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (refuses_) {
        return false;
    }
    startedUrls_.push_back(transfer.url);
    running_.push_back({startedUrls_.size(), std::move(transfer), false});
    changed_.notify_all();
    return true;
}

void ScriptedHttpTransport::cancel(std::uint64_t downloader) {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++cancellations_;
    for (Entry& entry : running_) {
        entry.cancelled = entry.cancelled || entry.transfer.downloader == downloader;
    }
}

ScriptedHttpTransport::Result ScriptedHttpTransport::send(const tessel::http::Request& request,
                                                          tessel::http::Response& response) {
    Answer answer;
    int status = 0;
    Result failure = ConnectionFailed;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        sentUrls_.push_back(request.getUrl());
        sentTimeouts_.push_back(request.getOptions()->requestTimeout);
        answer = answer_;
        status = status_;
        failure = failure_;
    }
    response = tessel::http::Response();
    std::string body = answer ? answer(request.getUrl()) : std::string();
    if (body.empty()) {
        return failure;
    }
    response.setStatusCode(status);
    response.setBody(std::move(body));
    return Success;
}

void ScriptedHttpTransport::setAnswer(Answer answer) {
    const std::lock_guard<std::mutex> lock(mutex_);
    answer_ = std::move(answer);
}

void ScriptedHttpTransport::failRequestsWith(Result result) {
    const std::lock_guard<std::mutex> lock(mutex_);
    failure_ = result;
}

void ScriptedHttpTransport::setStatus(int status) {
    const std::lock_guard<std::mutex> lock(mutex_);
    status_ = status;
}

void ScriptedHttpTransport::beforeCompletions(std::function<void()> hook) {
    const std::lock_guard<std::mutex> lock(mutex_);
    beforeCompletions_ = std::move(hook);
}

void ScriptedHttpTransport::refuseWork() {
    const std::lock_guard<std::mutex> lock(mutex_);
    refuses_ = true;
}

ScriptedHttpTransport::Running ScriptedHttpTransport::described(const Entry& entry) {
    const Transfer& transfer = entry.transfer;
    return {entry.number,   transfer.downloader, transfer.url, transfer.timeoutSeconds, !transfer.progress.empty(),
            entry.cancelled};
}

std::vector<ScriptedHttpTransport::Running> ScriptedHttpTransport::running() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<Running> all;
    for (const Entry& entry : running_) {
        all.push_back(described(entry));
    }
    return all;
}

std::vector<std::string> ScriptedHttpTransport::startedUrls() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return startedUrls_;
}

std::vector<std::string> ScriptedHttpTransport::sentUrls() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return sentUrls_;
}

std::vector<std::int64_t> ScriptedHttpTransport::sentTimeouts() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return sentTimeouts_;
}

std::size_t ScriptedHttpTransport::cancellations() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return cancellations_;
}

bool ScriptedHttpTransport::complete(std::uint64_t number, const std::string& body, Result result) {
    HttpDownloader::HttpDownloader::Completion completion;
    std::function<void()> hook;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto found = std::find_if(running_.begin(), running_.end(),
                                        [number](const Entry& entry) { return entry.number == number; });
        if (found == running_.end()) {
            return false;
        }
        completion = found->transfer.completion;
        running_.erase(found);
        hook = beforeCompletions_;
    }
    if (hook) {
        hook();
    }
    std::string delivered = body;
    completion(delivered, result);
    completion.clear();
    const std::lock_guard<std::mutex> lock(mutex_);
    bodyAfterCompletion_ = std::move(delivered);
    return true;
}

bool ScriptedHttpTransport::deliver(const std::string& body) {
    const std::vector<Running> all = running();
    return !all.empty() && complete(all.front().number, body, Success);
}

bool ScriptedHttpTransport::fail(Result result) {
    const std::vector<Running> all = running();
    return !all.empty() && complete(all.front().number, {}, result);
}

std::string ScriptedHttpTransport::bodyAfterCompletion() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return bodyAfterCompletion_;
}

void ScriptedHttpTransport::waitForStarted(std::size_t count) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return startedUrls_.size() >= count; });
}

std::optional<ScriptedHttpTransport::Running> ScriptedHttpTransport::waitForRunning() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return waitsEnded_ || !running_.empty(); });
    return waitsEnded_ ? std::nullopt : std::optional<Running>(described(running_.front()));
}

void ScriptedHttpTransport::endWaits() {
    const std::lock_guard<std::mutex> lock(mutex_);
    waitsEnded_ = true;
    changed_.notify_all();
}

}  // namespace fakes
