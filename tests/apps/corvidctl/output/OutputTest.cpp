#include "output/Output.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <sstream>

#include "fakes/TemporaryDirectory.h"
#include "output/Answers.h"
#include "output/DescriptorStream.h"

using namespace corvidctl;

namespace {

/// Notes each piece that is written to it.
class Pieces : public std::streambuf {
public:
    std::vector<std::string> written;

protected:
    std::streamsize xsputn(const char* text, std::streamsize size) override {
        written.emplace_back(text, static_cast<std::size_t>(size));
        return size;
    }

    int_type overflow(int_type character) override {
        written.emplace_back(1, traits_type::to_char_type(character));
        return character;
    }
};

ChangeView change() {
    ChangeView view;
    view.value.key = "Key";
    view.value.value = "new";
    view.value.isDefined = true;
    view.value.valueStoreName = "TheStore";
    view.changed = {"value", "valueStoreName"};
    return view;
}

std::string printed(const ChangeView& view, bool colours = false) {
    std::ostringstream out;
    std::ostringstream error;
    Output output{out, error, colours, false};
    printChange(output, view);
    return out.str();
}

}  // namespace

TEST(Output, PrintsAChangeOnOneLine) {
    EXPECT_EQ(printed(change()), "Key = \"new\", from TheStore  (changed: value, valueStoreName)\n");
}

TEST(Output, PrintsTheChangeOfAKeyThatHasGone) {
    ChangeView view = change();
    view.value.value = "";
    view.value.valueStoreName = "";
    EXPECT_EQ(printed(view), "Key = not defined  (changed: value, valueStoreName)\n");
}

TEST(Output, LetsNoChangeForgeALine) {
    ChangeView view = change();
    view.value.key = "K\ney";
    view.value.value = "\x1b[31m";
    view.value.valueStoreName = "a\xC2\x9B";
    EXPECT_EQ(printed(view), "K\\ney = \"\\x1b[31m\", from a\\x9b  (changed: value, valueStoreName)\n");
}

TEST(Output, ColoursAChangeOnRequest) {
    EXPECT_EQ(printed(change(), true), "\x1b[1mKey\x1b[0m = \"new\", from TheStore  \x1b[2m(changed: value, "
                                       "valueStoreName)\x1b[0m\n");
}

TEST(Output, SaysWhoSetAValueThatComesBeforeTheAdministrators) {
    const auto remarkOn = [](const std::string& store, const std::string& originalStore) {
        ValueView view = change().value;
        view.isOverridden = true;
        view.valueStoreName = store;
        view.originalValueStoreName = originalStore;
        std::ostringstream out;
        std::ostringstream error;
        Output output{out, error, false, false};
        printValues(output, {view});
        const std::string table = out.str();
        const std::string row = table.substr(table.find('*'));
        return row.substr(row.rfind("  ") + 2);
    };
    EXPECT_EQ(remarkOn("LocalFileConfigStore", "TheStore"), "overridden\n");
    EXPECT_EQ(remarkOn("LocalFileConfigStore", ""), "user only\n");
    EXPECT_EQ(remarkOn("InMemoryConfigStore", "TheStore"), "overridden for this run\n");
    EXPECT_EQ(remarkOn("InMemoryConfigStore", ""), "set for this run\n");
}

TEST(Output, PrintsAnErrorAfterWhatWasPrintedBefore) {
    const fakes::TemporaryDirectory directory;
    const int file = open(directory.path("both").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    {
        DescriptorStream out(file);
        DescriptorStream error(file);
        Output output{out, error, false, false};
        out << "first\n";
        printError(output, "second");
    }
    close(file);
    EXPECT_EQ(directory.read("both"), "first\ncorvidctl: second\n");
}

TEST(Output, PrintsAnErrorInOnePieceThatNoLineOfTheLogCanBreakUp) {
    std::ostringstream out;
    Pieces pieces;
    std::ostream error(&pieces);
    Output output{out, error, false, false};
    printError(output, "a line");
    EXPECT_EQ(pieces.written, std::vector<std::string>{"corvidctl: a line\n"});
}

TEST(Answers, GiveAChangeOnOneLine) {
    const std::string line =
        "{\"key\":\"Key\",\"value\":\"new\",\"originalValue\":\"\",\"isOverridden\":false,\"isDefined\":true,"
        "\"valueStoreName\":\"TheStore\",\"originalValueStoreName\":\"\",\"isSensitive\":false,"
        "\"changed\":[\"value\",\"valueStoreName\"]}\n";
    EXPECT_EQ(answers::changeHeadings(Format::Json), "");
    EXPECT_EQ(answers::change(change(), Format::Json), line);
    EXPECT_EQ(answers::changeHeadings(Format::JsonLines), "");
    EXPECT_EQ(answers::change(change(), Format::JsonLines), line);
}

TEST(Answers, GiveAChangeBetweenTabsBelowItsNames) {
    EXPECT_EQ(
        answers::changeHeadings(Format::Tsv),
        "key\tvalue\toriginalValue\tisOverridden\tisDefined\tvalueStoreName\toriginalValueStoreName\tisSensitive\t"
        "changed\n");
    EXPECT_EQ(answers::change(change(), Format::Tsv),
              "Key\tnew\t\tfalse\ttrue\tTheStore\t\tfalse\t[\"value\",\"valueStoreName\"]\n");
}

TEST(Answers, GiveAListAsOneArrayOrALineForEachElement) {
    ValueView one;
    one.key = "One";
    ValueView two;
    two.key = "Two";
    const std::string names =
        "key\tvalue\toriginalValue\tisOverridden\tisDefined\tvalueStoreName\toriginalValueStoreName\tisSensitive\n";
    EXPECT_EQ(answers::values({}, Format::Json), "[]\n");
    EXPECT_EQ(answers::values({one, two}, Format::JsonLines),
              answers::value(one, Format::JsonLines) + answers::value(two, Format::JsonLines));
    EXPECT_EQ(answers::values({one, two}, Format::Tsv), names + "One\t\t\tfalse\tfalse\t\t\tfalse\n"
                                                                "Two\t\t\tfalse\tfalse\t\t\tfalse\n");
    EXPECT_EQ(answers::values({}, Format::JsonLines), "");
    EXPECT_EQ(answers::values({}, Format::Tsv), names);
}

TEST(Answers, EscapeEveryControlCharacter) {
    const std::string text = "a\x1b\x7f\xC2\x9B\xC2\x80\xC2\x9F\n";
    EXPECT_EQ(answers::report(text, Format::Json), "{\n  \"report\": \"a\\u001b\\u007f\\u009b\\u0080\\u009f\\n\"\n}\n");
    EXPECT_EQ(answers::report(text, Format::Tsv), "report\na\\u001b\\u007f\\u009b\\u0080\\u009f\\n\n");
}

TEST(Answers, EscapeTabsAndBackslashesBetweenTabsAndLeaveQuotationMarks) {
    EXPECT_EQ(answers::report("a\t\"b\"\\\"", Format::Tsv), "report\na\\t\"b\"\\\\\"\n");
}

TEST(Answers, KeepWhatPeopleWrite) {
    EXPECT_EQ(answers::report("\xC2\xA0\xC3\xA4\xE2\x82\xAC", Format::Json),
              "{\n  \"report\": \"\xC2\xA0\xC3\xA4\xE2\x82\xAC\"\n}\n");
}
