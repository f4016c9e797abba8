#pragma once

#include <string>
#include <vector>

#include "provisioning/LinkReading.h"
#include "reading/Views.h"
#include "session/Session.h"

namespace corvidctl {

/// A key that a link has set.
struct ProvisionedKey {
    std::string key;    ///< as the link spells it
    std::string value;  ///< masked if it must not be shown
    ValueView after;    ///< the chain's answer
    bool answers = false;
    bool isWhole = true;  ///< XML can hold every character of the value
};

/// A part of a link that set nothing.
struct DroppedPart {
    std::size_t number = 0;  ///< from 1
    std::string what;        ///< its key, or its text if it has none; masked if it must not be shown
    std::string reason;
};

/// What came of a provisioning command.
struct ProvisioningView {
    bool wasClosed = false;  ///< the latch, when the command began; looked at only to reset it
    bool isClosed = false;   ///< the latch, when the command ended
    ValueView latch;         ///< what refused the link; when the command ended, if nothing did
    bool accepted = false;   ///< the module's verdict
    bool latchRefused = false;
    std::string reason;  ///< why the link was refused, for all but the latch; as the end of a sentence
    bool namesNoKnownKey = false;
    std::vector<ProvisionedKey> keys;  ///< in key order
    std::vector<DroppedPart> dropped;
    std::vector<std::string> gone;  ///< keys that an earlier link had set and this one has not
    bool cacheOnDisk = true;        ///< the next start finds what the link has set
    bool latchOnDisk = true;        ///< the next start finds the latch as it is
};

/// Whether the command has reset a latch that was closed, and that is on disk.
bool hasReopened(const ProvisioningView& view);

/// Resets the latch if it is closed. Dispatcher thread.
void reopenLatch(Session::Inside& inside, ProvisioningView& view);

/// Hands a link to the module and works out what became of each part. Dispatcher thread.
/// @param reveal show sensitive texts.
void applyLink(Session::Inside& inside, const std::wstring& link, bool reveal, ProvisioningView& view);

}  // namespace corvidctl
