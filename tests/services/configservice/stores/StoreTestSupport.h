#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "ConfigStore.h"
#include "chain/ConfigMap.h"
#include "fakes/RecordingLogSink.h"
#include "fakes/ScopedWorld.h"
#include "quill/FileUtils.h"
#include "quill/StringUtils.h"
#include "xml/XmlConfigParser.h"

/// Short forms for the tests of the stores and of the parser.
namespace storetests {

using Map = std::map<std::wstring, std::wstring>;
using Line = fakes::RecordingLogSink::Line;

/// A ConfigMap as a map with plain order, so that spelling shows in a comparison.
inline Map plain(const ConfigMap& values) { return {values.begin(), values.end()}; }

/// Everything that a store answers.
inline Map contentsOf(ConfigStore& store) {
    Map contents;
    for (const std::wstring& key : store.getKeys()) {
        store.getValue(key, contents[key]);
    }
    return contents;
}

/// The value of a key that the store must hold.
inline std::wstring valueOf(ConfigStore& store, const std::wstring& key) {
    std::wstring value = L"left over";
    EXPECT_TRUE(store.getValue(key, value)) << QuillCoreUtils::toString(key);
    return value;
}

inline bool misses(ConfigStore& store, const std::wstring& key) {
    std::wstring value = L"left over";
    return !store.getValue(key, value) && value.empty();
}

/// A whole document of the server's form around one group's contents.
inline std::string serverDocument(const std::string& entries) {
    return "<?xml version=\"1.0\"?><config version=\"1.0\"><Group>" + entries + "</Group></config>";
}

/// A document with its first line in small letters: libraries differ in how they spell the name of the encoding.
inline std::string withSmallDeclaration(const std::string& document) {
    const std::size_t end = document.find('\n');
    return end == std::string::npos ? document
                                    : QuillCoreUtils::toLowercase(document.substr(0, end)) + document.substr(end);
}

/// What the parser reads from a text that it must be able to read.
inline Map parse(const std::string& document) {
    ConfigMap values;
    SensitiveKeySet sensitiveKeys;
    EXPECT_TRUE(XmlConfigParser::readFromMemory(document, values, sensitiveKeys)) << document;
    return plain(values);
}

/// Lines of one logger.
inline std::vector<Line> linesOf(const fakes::ScopedRecordingLog& log, const std::string& logger) {
    std::vector<Line> lines;
    for (const Line& line : log->lines()) {
        if (line.logger == logger) {
            lines.push_back(line);
        }
    }
    return lines;
}

/// A world and a recording log for each test.
class StoreTest : public testing::Test {
protected:
    std::string path(const std::string& name) const { return world_.directory().path(name); }
    std::string write(const std::string& name, const std::string& contents) const {
        return world_.directory().write(name, contents);
    }
    std::string read(const std::string& name) const { return world_.directory().read(name); }

    fakes::ScopedWorld world_;
    fakes::ScopedRecordingLog log_;
};

}  // namespace storetests
