#pragma once

#include <memory>
#include <string>
#include <string_view>

class ConfigValueImpl;

/// In FIPS mode peer-to-peer calling always reads as off.
class DisableP2PCallOnFips {
public:
    /// Makes the value "false" if the key is "telephony_p2p_enabled", without regard to case, and FIPS mode is on. The
    /// mode is asked only once the key has matched, and anew on each call. Any thread.
    static void DisableP2PCallConfigValueOnFips(const std::wstring& key, std::wstring& value) {
        if (isRuledOut(key)) {
            value = offValue();
        }
    }

    /// The same rule without a copy: the given value, or the text "false". Any thread.
    static const std::wstring& valueAsRead(const std::wstring& key, const std::wstring& value) {
        return isRuledOut(key) ? offValue() : value;
    }

    /// Sets the object's value to "false" if its value, not its key, is the text "telephony_p2p_enabled" without regard
    /// to case, and FIPS mode is on. Fires nothing. Dispatcher thread.
    static void DisableP2PCallConfigValueOnFips(const std::shared_ptr<ConfigValueImpl>& object);

private:
    static constexpr std::wstring_view KEY = L"telephony_p2p_enabled";

    static bool isRuledOut(std::wstring_view text) { return text.size() == KEY.size() && isRuledOutByLetters(text); }
    static bool isRuledOutByLetters(std::wstring_view text);
    static const std::wstring& offValue();
};
