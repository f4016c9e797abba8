#pragma once

#include <string>

namespace corvidctl {

enum class Severity {
    Info,     ///< good to know; nothing has to change
    Warning,  ///< probably not what the author meant
    Error,    ///< the file cannot be used where it stands
};

/// The severity as people and scripts read it: "info", "warning", "error".
std::string wordOf(Severity severity);

/// The stable words for what a finding is about.
namespace FindingKind {
inline constexpr const char* Unreadable = "unreadable";       ///< error: not there, or no document
inline constexpr const char* Syntax = "syntax";               ///< error or warning of the XML parser
inline constexpr const char* WrongForm = "wrong-form";        ///< error or warning: not the form of a file of this name
inline constexpr const char* DuplicateKey = "duplicate-key";  ///< another entry counts
inline constexpr const char* LostEntry = "lost-entry";        ///< it gives no key
inline constexpr const char* IgnoredText = "ignored-text";    ///< text where none is read
inline constexpr const char* IgnoredElement = "ignored-element";      ///< an element that is not read
inline constexpr const char* MarkupValue = "markup-value";            ///< the entry's mark-up is its value
inline constexpr const char* NeverAnswered = "never-answered";        ///< no file of this form can set the key
inline constexpr const char* UnknownKey = "unknown-key";              ///< a close miss of a known one
inline constexpr const char* MarkIgnored = "mark-ignored";            ///< "sensitive" counts for nothing here
inline constexpr const char* PolicyValue = "policy-value";            ///< meant as a no, and read as a yes
inline constexpr const char* ListPart = "list-part";                  ///< a part of a list that is not read
inline constexpr const char* ServerType = "server-type";              ///< a server that does not count
inline constexpr const char* ErasedServer = "erased-server";          ///< a policy erases it from the user's file
inline constexpr const char* NotProvisionable = "not-provisionable";  ///< no link could have set it
inline constexpr const char* NoSeparator = "no-separator";            ///< a line without a colon
inline constexpr const char* IllFormedText = "ill-formed-text";       ///< bytes that are no UTF-8
inline constexpr const char* ByteOrderMark = "byte-order-mark";       ///< it becomes a part of the first line
inline constexpr const char* OldName = "old-name";                    ///< info: the key has another name today
inline constexpr const char* Sensitive = "sensitive";                 ///< info: the value is hidden
inline constexpr const char* FipsRule = "fips-rule";                  ///< info: FIPS mode decides
inline constexpr const char* Policy = "policy";                       ///< info: it erases values of the user's own
inline constexpr const char* BlankLine = "blank-line";                ///< info: it is read as a key without a name
inline constexpr const char* MovedAside = "moved-aside";              ///< info: the client renames the broken file
}  // namespace FindingKind

/// What the author of a file should know about a place in it.
struct Finding {
    Severity severity = Severity::Warning;
    std::string kind;  ///< one of FindingKind
    int line = 0;      ///< from 1; 0 if it is about no place
    int column = 0;    ///< from 1; 0 if it is not known
    std::string key;   ///< of the entry, as the validated file's keys list it; empty if it is about none
    std::string text;  ///< one sentence without its full stop, never with a value in it
};

}  // namespace corvidctl
