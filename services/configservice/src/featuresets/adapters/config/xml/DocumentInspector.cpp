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

bool hasText(const xmlNode* node) {
    for (const xmlNode* child = node->children; child != nullptr; child = child->next) {
        if (child->type != XML_COMMENT_NODE && child->type != XML_PI_NODE && xmlIsBlankNode(child) == 0) {
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

    void run() {
        xmlNode* const root = xmlDocGetRootElement(document_.get());
        if (holdsLocalEntry(root)) {
            report_.form = DocumentReport::Form::Local;
            inspectLocalFile(root);
        } else {
            inspectGroups(root);
        }
    }

private:
    static bool holdsLocalEntry(const xmlNode* root) {
        for (const xmlNode* node = root; node != nullptr; node = nextXmlNode(node, root)) {
            if (LocalFileFormat::isEntry(node)) {
                return true;
            }
        }
        return false;
    }

    void inspectLocalFile(const xmlNode* root) {
        for (const xmlNode* node = root; node != nullptr; node = nextXmlNode(node, root)) {
            if (LocalFileFormat::isEntry(node)) {
                inspectLocalEntry(node);
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
        for (xmlNode* group = root->children; group != nullptr; group = group->next) {
            if (group->type != XML_ELEMENT_NODE) {
                continue;
            }
            if (!hasElementChild(group) && hasText(group)) {
                warn(group, "element outside a group gives no key and its text is lost: " + nameOf(group));
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

    void warn(const xmlNode* node, std::string text) { report_.warnings.push_back({lineOf(node), 0, std::move(text)}); }

    const std::shared_ptr<xmlDoc> document_;
    const std::string fileName_;
    DocumentReport& report_;
    std::set<std::wstring, caseInsensitiveStringComparator<std::wstring>> keys_;
};

}  // namespace

DocumentReport inspectDocument(const std::string& path) {
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
        Inspection(document, QuillCoreUtils::FileUtils::getFileName(path), report).run();
    } else if (report.errors.empty()) {
        report.errors.push_back({0, 0, "file cannot be read as a document"});
    }
    return report;
}
