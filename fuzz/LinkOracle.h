#pragma once

#include <string>

/// The rules of provisioning links once more, written down independently of the module: one character after the other,
/// with tables of its own. Any thread.
namespace link_oracle {

/// Hands a link to the module and compares what it takes with what a plain reading of the rules takes.
/// @return what differs, as a sentence without its full stop; empty if nothing does.
std::string disagreement(const std::wstring& link);

}  // namespace link_oracle
