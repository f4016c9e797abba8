#include "xml/DocumentInspector.h"

#include <map>
#include <memory>
#include <utility>

#include "ConfigStoreConstants.h"
#include "chain/ConfigMap.h"
#include "quill/FileUtils.h"
#include "quill/StringUtils.h"
#include "xml/LocalFileFormat.h"
#include "xml/XmlConfigParser.h"
#include "xml/XmlDocument.h"

namespace {

using Form = DocumentReport::Form;
using Kind = DocumentReport::Kind;

int lineOf(const xmlNode* node) { return static_cast<int>(xmlGetLineNo(node)); }

std::string nameOf(const xmlNode* node) { return reinterpret_cast<const char*>(node->name); }

bool hasElementChild(const xmlNode* node) {
    for (const xmlNode* child = node->children; child != nullptr; child = child->next) {
        if (child->type == XML_ELEMENT_NODE) {
            return true;
        }
    }
    return false;
}

bool isText(const xmlNode* node) {
    const bool isOne =
        node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE || node->type == XML_ENTITY_REF_NODE;
    return isOne && xmlIsBlankNode(node) == 0;
}

bool hasText(const xmlNode* node) {
    for (const xmlNode* child = node->children; child != nullptr; child = child->next) {
        if (isText(child)) {
            return true;
        }
    }
    return false;
}

bool holdsLocalEntry(const xmlNode* top) {
    if (LocalFileFormat::isEntry(top)) {
        return true;
    }
    for (const xmlNode* child = top->children; child != nullptr; child = child->next) {
        if (child->type == XML_ELEMENT_NODE && holdsLocalEntry(child)) {
            return true;
        }
    }
    return false;
}

bool holdsServerEntry(const xmlNode* root) {
    for (const xmlNode* group = root->children; group != nullptr; group = group->next) {
        if (group->type == XML_ELEMENT_NODE && hasElementChild(group)) {
            return true;
        }
    }
    return false;
}

bool isHiddenByXmlStores(const std::wstring& key) {
    return QuillCoreUtils::caseInsensitiveStringEquals(key, ConfigStoreConstants::certificateValidationEnabled);
}

/// Fills a report from the tree of a document.
class Inspection {
public:
    Inspection(std::shared_ptr<xmlDoc> document, std::string fileName, DocumentReport& report)
        : document_(std::move(document)), fileName_(std::move(fileName)), report_(report) {}

    void run(std::optional<Form> form) {
        xmlNode* const root = xmlDocGetRootElement(document_.get());
        report_.formIsGuessed = !form;
        report_.form = form.value_or(holdsLocalEntry(root) ? Form::Local : Form::Server);
        if (report_.form == Form::Local) {
            inspectLocalFile(root);
        } else {
            inspectGroups(root);
        }
        countOtherWarnings();
        if (report_.entries.empty()) {
            noticeOtherForm(root);
        }
    }

private:
    void noticeOtherForm(const xmlNode* root) {
        if (report_.form == Form::Local && holdsServerEntry(root)) {
            refuse(root, "no key is read from it: a file of this name is read as a local file, of \"userConfig\" "
                         "elements, and this one has groups of entries");
        } else if (report_.form == Form::Server && holdsLocalEntry(root)) {
            refuse(root, "no key is read from it: a file of this name is read as a configuration document, of groups "
                         "of entries, and this one has \"userConfig\" elements");
        }
    }

    void inspectLocalFile(const xmlNode* node) {
        if (LocalFileFormat::isEntry(node)) {
            inspectLocalEntry(node);
        }
        if (hasText(node)) {
            warn(Kind::IgnoredText, node, "text is ignored in: " + nameOf(node));
        }
        for (const xmlNode* child = node->children; child != nullptr; child = child->next) {
            if (child->type != XML_ELEMENT_NODE) {
                continue;
            }
            if (holdsLocalEntry(child)) {
                inspectLocalFile(child);
            } else {
                warn(Kind::IgnoredElement, child, "element is ignored: " + nameOf(child));
            }
        }
    }

    void inspectLocalEntry(const xmlNode* node) {
        auto entry = LocalFileFormat::readEntry(node, LocalFileFormat::movesVoicemailKey(fileName_));
        if (!entry) {
            warn(Kind::LostEntry, node, "entry without a name is ignored");
        } else if (isNew(node, entry->key)) {
            report_.entries.push_back(
                {std::move(entry->key), std::move(entry->value), lineOf(node), false, false, std::move(entry->name)});
        }
    }

    void inspectGroups(const xmlNode* root) {
        if (hasText(root)) {
            warn(Kind::IgnoredText, root, "text is ignored in: " + nameOf(root));
        }
        for (xmlNode* group = root->children; group != nullptr; group = group->next) {
            if (group->type != XML_ELEMENT_NODE) {
                continue;
            }
            if (hasText(group) && hasElementChild(group)) {
                warn(Kind::IgnoredText, group, "text is ignored in: " + nameOf(group));
            } else if (hasText(group)) {
                warn(Kind::LostEntry, group,
                     "element outside a group gives no key and its text is lost: " + nameOf(group),
                     QuillCoreUtils::toWideString(nameOf(group)));
            }
            inspectGroup(group);
        }
    }

    void inspectGroup(xmlNode* group) {
        for (xmlNode* entry = group->children; entry != nullptr; entry = entry->next) {
            if (entry->type == XML_ELEMENT_NODE) {
                inspectEntry(entry);
            }
        }
    }

    void inspectEntry(xmlNode* node) {
        std::wstring key = XmlConfigParser::extractKey(node);
        if (!isNew(node, key)) {
            return;
        }
        const bool isMarkup = XmlConfigParser::isMarkup(node);
        if (isMarkup) {
            warn(Kind::MarkupValue, node, "value is the element's own mark-up: " + nameOf(node), key);
        }
        if (isHiddenByXmlStores(key)) {
            warn(Kind::NeverAnswered, node, "key is never answered from a configuration document: " + nameOf(node),
                 key);
        }
        std::wstring value = XmlConfigParser::extractValue(node, key);
        const bool sensitive = XmlConfigParser::parseSensitiveAttribute(node);
        std::wstring name = QuillCoreUtils::toWideString(nameOf(node));
        report_.entries.push_back(
            {std::move(key), std::move(value), lineOf(node), sensitive, isMarkup, std::move(name)});
    }

    bool isNew(const xmlNode* node, const std::wstring& key) {
        const auto [first, added] = lines_.emplace(key, lineOf(node));
        if (!added) {
            warn(Kind::DuplicateKey, node,
                 "duplicate key is ignored, line " + std::to_string(first->second) +
                     " counts: " + QuillCoreUtils::toString(key),
                 key);
        }
        return added;
    }

    void refuse(const xmlNode* node, std::string text) {
        report_.valid = false;
        report_.errors.push_back({Kind::WrongForm, lineOf(node), 0, std::move(text), {}});
    }

    void warn(Kind kind, const xmlNode* node, std::string text, std::wstring key = {}) {
        Others& others = others_[kind];
        if (others.told < mostOfAKind) {
            ++others.told;
            report_.warnings.push_back({kind, lineOf(node), 0, std::move(text), std::move(key)});
        } else if (others.count++ == 0) {
            others.line = lineOf(node);
        }
    }

    void countOtherWarnings() {
        for (const auto& [kind, others] : others_) {
            if (others.count > 0) {
                report_.warnings.push_back(
                    {kind, others.line, 0, "further such places from here on: " + std::to_string(others.count), {}});
            }
        }
    }

    /// A few bytes make a warning, which takes hundreds of them.
    static constexpr std::size_t mostOfAKind = 1'000;

    struct Others {
        std::size_t told = 0;
        std::size_t count = 0;  ///< of those that are not told
        int line = 0;           ///< of the first of them
    };

    const std::shared_ptr<xmlDoc> document_;
    const std::string fileName_;
    DocumentReport& report_;
    std::map<std::wstring, int, caseInsensitiveStringComparator<std::wstring>> lines_;  ///< of the entries that count
    std::map<Kind, Others> others_;
};

}  // namespace

std::optional<Form> formOfFile(const std::string& fileName) {
    const auto is = [&fileName](const std::string& name) {
        return QuillCoreUtils::caseInsensitiveStringEquals(fileName, name);
    };
    const std::string name = QuillCoreUtils::toLowercase(fileName);
    const bool isCache = name.rfind("cached", 0) == 0 && name.size() > 10 && name.substr(name.size() - 4) == ".xml";
    if (is(ConfigStoreConstants::LOCAL_FILE_CONFIG_STORE_FILE_NAME) ||
        is(ConfigStoreConstants::DEFAULT_CONFIG_STORE_FILE_NAME)) {
        return Form::Local;
    }
    if (isCache || is(ConfigStoreConstants::TFTP_OVERRIDE_FILE_NAME) ||
        is(ConfigStoreConstants::LEGACY_TFTP_CACHE_FILE_NAME)) {
        return Form::Server;
    }
    return std::nullopt;
}

DocumentReport inspectDocument(const std::string& path, std::optional<Form> form) {
    DocumentReport report;
    if (!QuillCoreUtils::FileUtils::fileExists(path)) {
        report.errors.push_back({Kind::Unreadable, 0, 0, "file does not exist", {}});
        return report;
    }
    std::vector<XmlProblem> problems;
    const std::shared_ptr<xmlDoc> document = readXmlFile(path, problems);
    report.valid = document != nullptr && xmlDocGetRootElement(document.get()) != nullptr;
    for (XmlProblem& problem : problems) {
        auto& findings = report.valid || !problem.isError ? report.warnings : report.errors;
        findings.push_back({Kind::Syntax, problem.line, problem.column, std::move(problem.text), {}});
    }
    if (report.valid) {
        const std::string fileName = QuillCoreUtils::FileUtils::getFileName(path);
        Inspection(document, fileName, report).run(form ? form : formOfFile(fileName));
    } else if (report.errors.empty()) {
        report.errors.push_back({Kind::Unreadable, 0, 0, "file cannot be read as a document", {}});
    }
    return report;
}
