#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace corvidctl {

/// What is wrong with a provisioning link as a whole.
enum class LinkFlaw {
    None,
    Empty,
    TooLong,
    NoQuestionMark,
    NothingBehindIt,  ///< behind the question mark
    NoKeyTaken,       ///< every part is dropped
};

/// What becomes of one part of a link.
enum class PartFate {
    Taken,
    Empty,
    NoEqualsSign,
    SeveralEqualsSigns,
    NoKey,        ///< nothing but blanks before the equals sign
    UnknownKey,   ///< a key that no link may set
    Overwritten,  ///< a later part sets the same key
};

/// One part of a link's query.
struct LinkPart {
    std::size_t number = 0;  ///< from 1
    PartFate fate = PartFate::Taken;
    std::wstring text;   ///< as the link has it
    std::wstring key;    ///< what stands before the first equals sign, without the blanks around it
    std::wstring value;  ///< what stands behind it, likewise; empty unless there is exactly one
};

/// A provisioning link read by the module's rules, with the reasons that the module keeps to itself.
struct LinkReading {
    LinkFlaw flaw = LinkFlaw::None;
    std::size_t length = 0;       ///< in characters
    std::vector<LinkPart> parts;  ///< in the order of the link; empty if it has no query that is read

    bool isTaken() const { return flaw == LinkFlaw::None; }
};

/// A link must have fewer characters than this.
inline constexpr std::size_t LINK_LENGTH_LIMIT = 1000;

/// Reads a link. Any thread.
LinkReading readLink(const std::wstring& link);

/// Why a link is refused, as the end of a sentence.
std::string reasonFor(const LinkReading& reading);

/// Why a part is dropped, as the end of a sentence. Not for one that is taken.
std::string reasonFor(PartFate fate);

/// The keys that a link may set, joined by commas.
std::string keysOfLinks();

}  // namespace corvidctl
