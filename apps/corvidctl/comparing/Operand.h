#pragma once

#include <string>

namespace corvidctl {

/// What one side of a comparison is.
struct Operand {
    enum class Kind {
        Live,       ///< the configuration of --config-dir
        Store,      ///< one store of it
        File,       ///< a document
        Directory,  ///< another configuration
    };

    Kind kind = Kind::Live;
    std::string place;    ///< a store's name or a path
    std::string problem;  ///< what is wrong with the word, in one line; empty if nothing is
};

/// Reads a word: "live", "store:NAME", "file:PATH" and "dir:PATH" say what they are; any other is a path if there is
/// something, and the name of a store if there is nothing. A word that could be both is a problem, and so is a name
/// that no chain knows. Looks at the file system, not at the chain, which may lack a store of a good name.
Operand readOperand(const std::string& word);

}  // namespace corvidctl
