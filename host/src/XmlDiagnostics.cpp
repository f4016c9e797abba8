#include "host/XmlDiagnostics.h"

#include <libxml/globals.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <cctype>
#include <string>

#include "quill/XmlUtils.h"
#include "tessel/TesselLogger.h"

namespace host {

namespace {

bool isWordCharacter(char character) {
    return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '_';
}

bool standsAlone(const std::string& text, std::size_t at, std::size_t length) {
    const bool startsWord = at == 0 || !isWordCharacter(text[at - 1]);
    const bool endsWord = at + length == text.size() || !isWordCharacter(text[at + length]);
    return startsWord && endsWord;
}

void hide(std::string& text, const char* quoted) {
    const std::string word = quoted == nullptr ? "" : quoted;
    if (word.empty()) {
        return;
    }
    const std::string hidden = "...";
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at)) {
        const bool alone = standsAlone(text, at, word.size());
        if (alone) {
            text.replace(at, word.size(), hidden);
        }
        at += alone ? hidden.size() : 1;
    }
}

/// The message alone: names and values of the document may be secrets, or act on a terminal.
std::string harmlessMessage(const xmlError& error) {
    std::string text = error.message == nullptr ? "" : error.message;
    text = text.substr(0, text.find('\n'));  // what follows shows bytes of the document
    if (error.domain != XML_FROM_IO) {       // there it is a path
        for (const char* const quoted : {error.str1, error.str2, error.str3}) {
            hide(text, quoted);
        }
    }
    std::replace_if(
        text.begin(), text.end(), [](unsigned char byte) { return byte < 0x20 || byte >= 0x7F; }, '?');
    return text;
}

void report(void*, xmlError* error) {
    if (!QuillCoreUtils::XmlReading::admitsMessage()) {
        return;
    }
    static TesselLogger* const logger = TesselLogger_getLogger("libxml2");
    const std::string place =
        error->file == nullptr ? std::string() : std::string(error->file) + ":" + std::to_string(error->line) + ": ";
    TesselLog(logger, 3, __FILE__, __LINE__, "report", place + harmlessMessage(*error));
}

void discard(void*, xmlError*) {}

void install(xmlStructuredErrorFunc handler) {
    xmlSetStructuredErrorFunc(nullptr, handler);
    xmlThrDefSetStructuredErrorFunc(nullptr, handler);
}

}  // namespace

XmlDiagnostics::XmlDiagnostics(Way way) {
    QuillCoreUtils::XmlUtils::initialiseLibrary();
    install(way == Way::Log ? report : discard);
}

XmlDiagnostics::~XmlDiagnostics() { install(nullptr); }

}  // namespace host
