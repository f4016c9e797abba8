#pragma once

#include <string>

/// True if the flag's value comes from the installation's defaults file, so that a better answer may be worked out;
/// false if someone has set it on purpose, and also if no store has it.
/// @param storeName the store that answered for the flag, among those that the user cannot write.
bool onlyDefaultSpeaks(const std::wstring& storeName);

/// True if a server is known under either of two keys.
bool anyServerConfigured(const std::wstring& first, const std::wstring& second);

/// True if this pair names a meetings server that the client can use: an address, and the type "Lumex" in any case or
/// no type at all.
bool meetingsServerSettingOk(const std::wstring& address, const std::wstring& type);
