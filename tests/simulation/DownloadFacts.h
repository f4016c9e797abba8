#pragma once

#include <optional>
#include <string>
#include <vector>

namespace simulation {

/// How the model and the module spell what can be seen of the store of the server's file.
namespace facts {

/// @param ready whether the store lets waiting callers go already.
std::string told(int observer, const std::vector<std::wstring>& keys, bool ready);
std::string answer(const std::wstring& key, const std::optional<std::wstring>& text);
std::string wiped(bool yes);
std::string removed(bool yes);
std::string state(int state, bool ready, bool configured, bool settled);
std::string details(const std::string& details, const std::string& successful);
std::string value(const std::wstring& key, const std::optional<std::wstring>& text);

/// How an enciphered value is written down; a clear one is written as it is.
std::wstring sealed(const std::wstring& clearText);

std::string transfer(std::size_t number, const std::string& url, long timeout, bool cancelled);
std::string counts(std::size_t cancellations, std::size_t tasks, std::size_t reports);
std::string version(const std::wstring& version);

}  // namespace facts

}  // namespace simulation
