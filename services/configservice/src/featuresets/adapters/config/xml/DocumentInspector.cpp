#include "xml/DocumentInspector.h"

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
            warn(node, "text is ignored in: " + nameOf(node));
        }
        for (const xmlNode* child = node->children; child != nullptr; child = child->next) {
            if (child->type != XML_ELEMENT_NODE) {
                continue;
            }
            if (holdsLocalEntry(child)) {
                inspectLocalFile(child);
            } else {
                warn(child, "element is ignored: " + nameOf(child));
            }
        }
    }

    void inspectLocalEntry(const xmlNode* node) {
        auto entry = LocalFileFormat::readEntry(node, LocalFileFormat::movesVoicemailKey(fileName_));
        if (!entry) {
            warn(node, "entry without a name is ignored");
        } else if (isNew(node, entry->key)) {
            report_.entries.push_back({std::move(entry->key), std::move(entry->value), lineOf(node), false, false});
        }
    }

    void inspectGroups(const xmlNode* root) {
        if (hasText(root)) {
            warn(root, "text is ignored in: " + nameOf(root));
        }
        for (xmlNode* group = root->children; group != nullptr; group = group->next) {
            if (group->type != XML_ELEMENT_NODE) {
                continue;
            }
            if (hasText(group)) {
                const char* const what = hasElementChild(group)
                                             ? "text is ignored in: "
                                             : "element outside a group gives no key and its text is lost: ";
                warn(group, what + nameOf(group));
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
            warn(node, "value is the element's own mark-up: " + nameOf(node));
        }
        if (isHiddenByXmlStores(key)) {
            warn(node, "key is never answered from a configuration document: " + nameOf(node));
        }
        std::wstring value = XmlConfigParser::extractValue(document_, node, key);
        const bool sensitive = XmlConfigParser::parseSensitiveAttribute(node);
        report_.entries.push_back({std::move(key), std::move(value), lineOf(node), sensitive, isMarkup});
    }

    bool isNew(const xmlNode* node, const std::wstring& key) {
        if (keys_.insert(key).second) {
            return true;
        }
        warn(node, "duplicate key is ignored: " + QuillCoreUtils::toString(key));
        return false;
    }

    void refuse(const xmlNode* node, std::string text) {
        report_.valid = false;
        report_.errors.push_back({lineOf(node), 0, std::move(text)});
    }

    void warn(const xmlNode* node, std::string text) { report_.warnings.push_back({lineOf(node), 0, std::move(text)}); }

    const std::shared_ptr<xmlDoc> document_;
    const std::string fileName_;
    DocumentReport& report_;
    std::set<std::wstring, caseInsensitiveStringComparator<std::wstring>> keys_;
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
        report.errors.push_back({0, 0, "file does not exist"});
        return report;
    }
    std::vector<XmlProblem> problems;
    const std::shared_ptr<xmlDoc> document = readXmlFile(path, problems);
    report.valid = document != nullptr && xmlDocGetRootElement(document.get()) != nullptr;
    for (XmlProblem& problem : problems) {
        auto& findings = report.valid || !problem.isError ? report.warnings : report.errors;
        findings.push_back({problem.line, problem.column, std::move(problem.text)});
    }
    if (report.valid) {
        const std::string fileName = QuillCoreUtils::FileUtils::getFileName(path);
        Inspection(document, fileName, report).run(form ? form : formOfFile(fileName));
    } else if (report.errors.empty()) {
        report.errors.push_back({0, 0, "file cannot be read as a document"});
    }
    return report;
}
