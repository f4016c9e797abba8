#pragma once

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "contracts/PropertyNotifierConnection.h"

/// One callback and its place in the list that keeps it alive.
///
/// The list and its connections share each other on purpose: a callback works until somebody disconnects it, whatever
/// became of the notifier. Dispatcher thread only.
///
/// @tparam Callback a function object without arguments and result.
template <typename Callback>
class PropertyNotifierConnectionImpl : public PropertyNotifierConnection,
                                       public std::enable_shared_from_this<PropertyNotifierConnectionImpl<Callback>> {
public:
    /// The connections of one notifier that hold callbacks of this type, in the order of their connection.
    using List = std::vector<std::shared_ptr<PropertyNotifierConnectionImpl>>;

    PropertyNotifierConnectionImpl(Callback callback, std::shared_ptr<List> list)
        : callback_(std::move(callback)), list_(std::move(list)) {}

    /// Joins the end of the list. To be called once, on an object that is held by a shared reference.
    void connect() {
        list_->push_back(this->shared_from_this());
        connected_ = true;
    }

    void disconnect() override {
        // The list may hold the last reference to this object.
        const auto self = this->shared_from_this();
        const auto place = std::find(list_->begin(), list_->end(), self);
        if (place != list_->end()) {
            list_->erase(place);
        }
        connected_ = false;
    }

    bool connected() const override { return connected_; }

    const Callback& callback() const { return callback_; }

private:
    const Callback callback_;
    const std::shared_ptr<List> list_;
    bool connected_ = false;
};
