// Reads what a lock guards without taking it. A compiler that lets this pass lets every such mistake pass.

#include "tessel/Mutex.h"

class Guarded {
public:
    int read() const { return value_; }

private:
    mutable tessel::Mutex mutex_;
    int value_ TESSEL_GUARDED_BY(mutex_) = 0;
};

int readWithoutTheLock(const Guarded& guarded) { return guarded.read(); }
