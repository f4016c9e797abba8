#pragma once

/// One callback's connection to a PropertyNotifier.
///
/// The notifier owns the connection and the client holds it weakly; a weak reference that can no longer be locked
/// belongs to a connection that is gone. A connection never reconnects.
class PropertyNotifierConnection {
public:
    /// Ends the connection: the callback is not called again, not even in a fire that is under way. A second call has
    /// no effect. Same thread rule as PropertyNotifier.
    virtual void disconnect() = 0;

    /// True from the making of the connection until disconnect().
    virtual bool connected() const = 0;

    virtual ~PropertyNotifierConnection() = default;
};
