#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "AdapterFixture.h"

/// What the notifiers of one test were asked, in order: "connect softphone", "disconnect softphone".
using Course = std::shared_ptr<std::vector<std::string>>;

/// A connection that tells when it ends.
class RecordedConnection : public PropertyNotifierConnection {
public:
    RecordedConnection(std::string name, Course course) : name_(std::move(name)), course_(std::move(course)) {}
    void disconnect() override {
        connected_ = false;
        course_->push_back("disconnect " + name_);
    }
    bool connected() const override { return connected_; }

private:
    const std::string name_;
    const Course course_;
    bool connected_ = true;
};

/// The callbacks of one notifier, on the test's own thread.
template <typename Callback>
class RecordedCallbacks {
public:
    RecordedCallbacks(std::string name, Course course) : name_(std::move(name)), course_(std::move(course)) {}

    std::weak_ptr<PropertyNotifierConnection> connect(const Callback& callback) {
        course_->push_back("connect " + name_);
        if (const auto once = std::exchange(beforeConnecting, nullptr)) {
            once();
        }
        const auto connection = std::make_shared<RecordedConnection>(name_, course_);
        entries_.push_back({callback, connection});
        return connection;
    }

    template <typename... Arguments>
    void fire(const Arguments&... arguments) const {
        const auto entries = entries_;
        for (const auto& [callback, connection] : entries) {
            if (connection->connected()) {
                callback(arguments...);
            }
        }
    }

    /// Calls the newest callback, as a fire that had looked at its connection before that ended.
    template <typename... Arguments>
    void fireLate(const Arguments&... arguments) const {
        const Callback newest = entries_.back().first;
        newest(arguments...);
    }

    std::size_t connections() const {
        std::size_t count = 0;
        for (const auto& entry : entries_) {
            count += entry.second->connected() ? 1U : 0U;
        }
        return count;
    }

    /// Ends the callbacks, and with them what they hold.
    void clear() { entries_.clear(); }

    /// Runs once, inside the next connect().
    std::function<void()> beforeConnecting;

private:
    const std::string name_;
    const Course course_;
    std::vector<std::pair<Callback, std::shared_ptr<RecordedConnection>>> entries_;
};

class RecordedNotifier : public PropertyNotifier {
public:
    RecordedNotifier(std::string name, Course course) : callbacks(std::move(name), std::move(course)) {}
    std::weak_ptr<PropertyNotifierConnection> connect(const boost::function<void()>& callback) override {
        return callbacks.connect(callback);
    }
    std::weak_ptr<PropertyNotifierConnection> addConnection(const std::function<void()>& callback) override {
        return callbacks.connect(callback);
    }
    RecordedCallbacks<boost::function<void()>> callbacks;
};

class RecordedListNotifier : public ServerHealthInformationListNotifier {
public:
    explicit RecordedListNotifier(Course course) : callbacks("list", std::move(course)) {}
    std::weak_ptr<PropertyNotifierConnection> connect(const Callback& callback) override {
        return callbacks.connect(callback);
    }
    RecordedCallbacks<Callback> callbacks;
};

/// A server health entry whose notifier a test can look into.
class RecordedHealth : public ServerHealthInformation, private ServerHealthInformationNotifiers {
public:
    RecordedHealth(int type, int initialStatus, const std::string& name, const Course& course)
        : status(initialStatus), notifier(std::make_shared<RecordedNotifier>(name, course)), type_(type) {}

    int getServerHealthType() const override { return type_; }
    int getConnectionStatus() const override { return status; }
    std::shared_ptr<ServerHealthInformationNotifiers> getServerHealthInformationNotifiers() override {
        // The entry outlives whoever uses its notifiers.
        return {std::shared_ptr<void>(), static_cast<ServerHealthInformationNotifiers*>(this)};
    }

    void change(int newStatus) {
        status = newStatus;
        notifier->callbacks.fire();
    }
    std::size_t connections() const { return notifier->callbacks.connections(); }

    int status;
    const std::shared_ptr<RecordedNotifier> notifier;

private:
    std::shared_ptr<PropertyNotifier> getConnectionStatusNotifier() override { return notifier; }
    const int type_;
};

/// A module in edge mode: the test's thread is the dispatcher thread, the list of server health is the test's.
class EdgeFixture : public AdapterFixture {
protected:
    static constexpr int SOFTPHONE = 2;
    static constexpr int SECOND_TELEPHONY = 4;
    static constexpr int CONNECTED = 1;

    EdgeFixture() {
        systemService->listNotifier = listNotifier;
        systemService->setEdgeMode(true);
    }
    ~EdgeFixture() override {
        // What is still connected holds its entry, which holds its notifier.
        for (const auto& entry : entries_) {
            entry->notifier->callbacks.clear();
        }
    }

    std::shared_ptr<RecordedHealth> health(int type, int status = 0) {
        const std::string name = type == SOFTPHONE ? "softphone" : type == SECOND_TELEPHONY ? "second" : "other";
        entries_.push_back(std::make_shared<RecordedHealth>(type, status, name, course));
        return entries_.back();
    }

    /// Replaces the list without a word.
    void setList(ServerHealthInformationList list) { systemService->setServerHealthInformationList(std::move(list)); }

    /// The list's notifier fires: with nothing that it could tell, since nobody looks at that.
    void fireList() { listNotifier->callbacks.fire(false, nullptr, nullptr); }

    void changeList(ServerHealthInformationList list) {
        setList(std::move(list));
        fireList();
    }

    void watch(ServerHealthInformationList list) {
        setList(std::move(list));
        injectAndStart();
        adapter()->startTftpConfigSource();
    }

    /// The adapter's lines on what telephony does.
    std::size_t downloadLines() const {
        return log->count(4, "Telephony has connected in edge mode. Attempting download of tftp config store");
    }

    bool everythingIsDisconnected() const {
        std::size_t count = listNotifier->callbacks.connections();
        for (const auto& entry : entries_) {
            count += entry->connections();
        }
        return count == 0;
    }

    const Course course = std::make_shared<std::vector<std::string>>();
    const std::shared_ptr<RecordedListNotifier> listNotifier = std::make_shared<RecordedListNotifier>(course);

private:
    std::vector<std::shared_ptr<RecordedHealth>> entries_;
};
