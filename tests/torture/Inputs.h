#pragma once

#include <string>
#include <vector>

#include "Client.h"
#include "fakes/TemporaryDirectory.h"

namespace torture {

/// A file or an answer that the module reads: where it lies, what it holds, and a key that only it holds.
struct Input {
    enum class Form { Server, Local, Properties, Version, Chain };

    std::string name;
    Form form;
    std::string path;  ///< below the scene's folder; empty for what a server sends
    std::string contents;
    std::wstring key;  ///< empty: it has none
};

/// The six files; the downloaded one is the last.
const std::vector<Input>& inputs();

/// A server's answer on its version, and the file that says which store waits for which.
const std::vector<Input>& furtherInputs();

/// A scene with all inputs, of which one is another than it should be.
class InputFiles {
public:
    const Scene& scene() const { return scene_; }

    /// Writes all files anew, without what an earlier start has set aside. @param other the one with the given
    /// contents; what a server sends is written where nobody reads it, to be kept if something is lost by it.
    void write(const Input& other, const std::string& contents) const;

private:
    const fakes::TemporaryDirectory directory_;
    const Scene scene_{directory_.path()};
};

/// What a document is to libxml2, without any of its options.
bool isWellFormed(const std::string& text);

/// Has a client download its file and asks it for the keys of all inputs but one.
/// @param contents those of the other one, if a server sends it.
/// @return what is not answered, as a sentence without its full stop; empty if all is.
std::string whatIsUnanswered(Client& client, const Input& other, const std::string& contents);

}  // namespace torture
