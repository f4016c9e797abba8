#include "FaultTables.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>

namespace integration {

namespace {

using Outcomes = std::vector<Outcome>;  ///< at each of the servers

std::string textOf(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// What stands below a heading of the document, and the text around it.
struct Section {
    std::string before;
    std::string text;
    std::string behind;

    explicit Section(const std::string& heading) {
        const std::string all = textOf(NETWORK_FAULTS_DOCUMENT);
        const std::size_t begin = all.find("## " + heading + "\n\n");
        if (begin == std::string::npos) {
            throw std::runtime_error("docs/network-faults.md has no heading: " + heading);
        }
        const std::size_t first = begin + heading.size() + 5;
        const std::size_t end = std::min(all.find("\n## ", first), all.size());
        before = all.substr(0, first);
        text = all.substr(first, end - first);
        behind = all.substr(end);
    }
};

/// A row for each thing that is looked at, a column for each server.
std::string tableOfWhatFollowed(const Outcomes& outcomes) {
    std::string table = "| after each of them | at the first | at the second | at the third |\n|---|---|---|---|\n";
    for (std::size_t row = 0; row < outcomes.at(0).followed.size(); ++row) {
        table.append("| ").append(outcomes.at(0).followed.at(row).first);
        for (const Outcome& outcome : outcomes) {
            table.append(" | ").append(outcome.followed.at(row).second);
        }
        table.append(" |\n");
    }
    return table;
}

/// What is told at all of them, or what is told at each.
std::string agreed(const Outcomes& outcomes) {
    std::string all = outcomes.at(0).told;
    bool same = true;
    for (std::size_t server = 1; server < outcomes.size(); ++server) {
        same = same && outcomes[server].told == outcomes[0].told;
        all.append(" / ").append(outcomes[server].told);
    }
    return same ? outcomes[0].told : all;
}

}  // namespace

void expectAsWritten(const std::string& heading, const std::string& tells, const std::vector<NetworkFault>& faults,
                     const std::function<Outcome(const NetworkFault&, std::size_t)>& tryOut) {
    std::string followed;
    std::string rows = "| fault | " + tells + " |\n|---|---|\n";
    std::set<std::string> names;
    for (const NetworkFault& fault : faults) {
        EXPECT_TRUE(names.insert(fault.name).second) << fault.name;
        Outcomes outcomes;
        for (std::size_t server = 0; server < HOSTS.size(); ++server) {
            SCOPED_TRACE(fault.name + " at " + HOSTS.at(server));
            outcomes.push_back(tryOut(fault, server));
        }
        const std::string table = tableOfWhatFollowed(outcomes);
        followed = followed.empty() ? table : followed;
        EXPECT_EQ(table, followed) << fault.name;
        rows.append("| ").append(fault.name).append(" | ").append(agreed(outcomes)).append(" |\n");
    }
    const Section section(heading);
    const std::string text = followed + "\n" + rows;
    if (std::getenv("CORVID_WRITE_TABLES") != nullptr) {
        std::ofstream(NETWORK_FAULTS_DOCUMENT) << section.before << text << section.behind;
        FAIL() << "wrote " << NETWORK_FAULTS_DOCUMENT << ": look at it, and run again without CORVID_WRITE_TABLES";
    }
    EXPECT_EQ(section.text, text);
}

std::string withoutName(std::string text, const std::string& host) {
    const std::size_t place = text.find(host);
    return place == std::string::npos ? text : text.replace(place, host.size(), "SERVER");
}

std::string quoted(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text.append(text.empty() ? "\"" : ", \"").append(line).append("\"");
    }
    return text.empty() ? "nothing" : text;
}

}  // namespace integration
