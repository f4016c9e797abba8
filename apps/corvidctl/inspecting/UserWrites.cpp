#include "inspecting/UserWrites.h"

namespace corvidctl {

UserWriteView UserWrites::store(const std::string& key, const std::string& value) {
    return write(Cause::Set, [&](Session::Inside& inside) { return storeUserValue(inside, key, value); });
}

UserWriteView UserWrites::erase(const std::string& key) {
    return write(Cause::Reset, [&](Session::Inside& inside) { return eraseUserValue(inside, key); });
}

UserWriteView UserWrites::write(Cause cause, const std::function<UserWriteView(Session::Inside&)>& write) {
    const std::lock_guard lock(mutex_);
    UserWriteView view;
    client_.session().work([&](Session::Inside& inside) {
        const CauseScope scope(client_.scope(), cause);
        view = write(inside);
    });
    noteDisk(client_.session().persist(), client_.configDirectory(), view);
    return view;
}

}  // namespace corvidctl
