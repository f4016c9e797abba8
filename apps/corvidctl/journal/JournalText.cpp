#include "journal/JournalText.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <nlohmann/json.hpp>

#include "output/MachineText.h"

namespace corvidctl::journaltext {

namespace {

using std::chrono::milliseconds;
using std::chrono::system_clock;

Json toJson(const JournalChange& change) {
    return {{"key", change.key},           {"oldValue", change.oldValue}, {"newValue", change.newValue},
            {"oldStore", change.oldStore}, {"newStore", change.newStore}, {"isSensitive", change.isSensitive}};
}

/// What every change of a batch shares with it.
Json headOf(const JournalBatch& batch) {
    return {{"batch", batch.number}, {"time", timeText(batch.time)}, {"cause", textOf(batch.cause)}};
}

Json toJson(const JournalBatch& batch) {
    Json json = headOf(batch);
    json["changes"] = Json::array();
    for (const JournalChange& change : batch.changes) {
        json["changes"].push_back(toJson(change));
    }
    return json;
}

/// The change with its batch's number, time and cause before it.
Json flat(const JournalBatch& batch, const JournalChange& change) {
    Json json = headOf(batch);
    json.update(toJson(change));
    return json;
}

Json flatChangesOf(const std::vector<JournalBatch>& batches) {
    Json array = Json::array();
    for (const JournalBatch& batch : batches) {
        for (const JournalChange& change : batch.changes) {
            array.push_back(flat(batch, change));
        }
    }
    return array;
}

JournalChange changeFrom(const Json& json) {
    return {json.at("key").get<std::string>(),      json.at("oldValue").get<std::string>(),
            json.at("newValue").get<std::string>(), json.at("oldStore").get<std::string>(),
            json.at("newStore").get<std::string>(), json.at("isSensitive").get<bool>()};
}

}  // namespace

std::string timeText(system_clock::time_point time) {
    const auto whole = std::chrono::floor<milliseconds>(time);
    const auto seconds = std::chrono::floor<std::chrono::seconds>(whole);
    const std::time_t calendar = system_clock::to_time_t(seconds);
    std::tm parts{};
    gmtime_r(&calendar, &parts);
    std::array<char, 32> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    std::array<char, 8> fraction{};
    std::snprintf(fraction.data(), fraction.size(), ".%03dZ", static_cast<int>((whole - seconds).count()));
    return std::string(text.data(), length) + fraction.data();
}

std::string shortTimeText(system_clock::time_point time) {
    std::string text = timeText(time);
    text.resize(text.find('.'));
    text[text.find('T')] = ' ';
    return text;
}

std::optional<system_clock::time_point> timeOf(const std::string& text) {
    std::tm parts{};
    const char* const rest = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &parts);
    int fraction = 0;
    if (rest == nullptr || std::sscanf(rest, ".%3dZ", &fraction) != 1) {
        return std::nullopt;
    }
    const system_clock::time_point time = system_clock::from_time_t(timegm(&parts)) + milliseconds(fraction);
    // Nothing but the one spelling, and no thirtieth of February.
    return timeText(time) == text ? std::optional(time) : std::nullopt;
}

Json object(const JournalBatch& batch) { return toJson(batch); }

Json object(const JournalBatch& batch, const JournalChange& change) { return flat(batch, change); }

std::string line(const JournalBatch& batch) { return streamed(toJson(batch), Format::JsonLines); }

std::optional<JournalBatch> batchOf(std::string_view line) {
    try {
        const Json json = Json::parse(line);
        const auto time = timeOf(json.at("time").get<std::string>());
        const auto cause = causeCalled(json.at("cause").get<std::string>());
        if (!time || !cause || !json.at("changes").is_array()) {
            return std::nullopt;
        }
        JournalBatch batch{json.at("batch").get<std::uint64_t>(), *time, *cause, {}};
        for (const Json& change : json.at("changes")) {
            batch.changes.push_back(changeFrom(change));
        }
        return batch;
    } catch (const Json::exception&) {
        return std::nullopt;
    }
}

std::string headings(Format format) { return streamHeadings(flat(JournalBatch(), JournalChange()), format); }

std::string batch(const JournalBatch& batch, Format format) {
    if (format != Format::Tsv) {
        return streamed(toJson(batch), format);
    }
    std::string lines;
    for (const JournalChange& change : batch.changes) {
        lines += streamed(flat(batch, change), format);
    }
    return lines;
}

std::string batches(const std::vector<JournalBatch>& batches, Format format) {
    if (format == Format::Tsv) {
        return changes(batches, format);
    }
    Json array = Json::array();
    for (const JournalBatch& batch : batches) {
        array.push_back(toJson(batch));
    }
    return printedList(array, toJson(JournalBatch()), format);
}

std::string changes(const std::vector<JournalBatch>& batches, Format format) {
    return printedList(flatChangesOf(batches), flat(JournalBatch(), JournalChange()), format);
}

}  // namespace corvidctl::journaltext
