#pragma once

#include <string>
#include <vector>

/// Told of each finished download, on the dispatcher thread.
class TftpConfigStoreObserver {
public:
    /// @param keys the keys that the store held before the download replaced them; empty if it held none, or if the
    ///             file could not be parsed.
    virtual void onTftpConfigDownloaded(std::vector<std::wstring> keys) = 0;

protected:
    ~TftpConfigStoreObserver() = default;
};
