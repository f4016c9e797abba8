#pragma once

#include <functional>
#include <string>
#include <vector>

namespace torture {

/// What no value may hold: the replacement of every entity of an attack, and what stands in the files that it names.
constexpr const char* forbiddenText = "EXPANDED";

/// A document that means harm: put in parts into a document of some form, and then made into bytes.
struct Attack {
    using Pack = std::function<std::string(const std::string& document)>;

    std::string name;
    std::string prolog;     ///< before the root
    std::string inside;     ///< in an element: the value of an entry, where entries are elements
    std::string attribute;  ///< in quotes ("): the value of an entry, where entries have attributes
    Pack pack;              ///< nothing: the document as it is, in UTF-8

    /// The whole document with a harmless entry of that key and the value "yes" before the harm.
    std::string asServerFile(const std::string& key) const;
    std::string asLocalFile(const std::string& key) const;

    /// A server's answer on its version, and the file that says which store waits for which, with the harm in what is
    /// read of them.
    std::string asVersionAnswer() const;
    std::string asChainFile() const;
};

/// All of them.
/// @param outside a folder that the documents must not get at. It has the files secret.txt and secret.dtd.
/// @param port of this machine that they must not connect to.
std::vector<Attack> attacks(const std::string& outside, int port);

}  // namespace torture
