#include "provisioning/LinkReading.h"

#include <random>

#include "ConfigStoreConstants.h"
#include "chain/ConfigStoreManager.h"

using namespace corvidctl;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<PartFate> fatesOf(const std::wstring& link) {
    std::vector<PartFate> fates;
    for (const LinkPart& part : readLink(link).parts) {
        fates.push_back(part.fate);
    }
    return fates;
}

std::map<std::wstring, std::wstring> takenFrom(const LinkReading& reading) {
    std::map<std::wstring, std::wstring> taken;
    for (const LinkPart& part : reading.parts) {
        if (part.fate == PartFate::Taken) {
            EXPECT_TRUE(taken.emplace(part.key, part.value).second);
        }
    }
    return taken;
}

/// Links made of pieces that matter to the rules, with a few that do not.
class RandomLinks {
public:
    explicit RandomLinks(unsigned seed) : random_(seed) {}

    std::wstring next() {
        std::wstring link = upTo(9) == 0 ? L"" : L"corvid://provision";
        for (std::size_t pieces = upTo(24); pieces > 0; --pieces) {
            link += piece();
        }
        if (upTo(7) == 0) {
            link.insert(0, 1003 - std::min<std::size_t>(1000, link.size()) - upTo(5) % 4, L'x');
        }
        return link;
    }

private:
    std::wstring piece() {
        static const std::vector<std::wstring> marks = {L"?", L"&", L"&",  L"=",   L"=",
                                                        L"=", L" ", L"\t", L"%3D", L"\U0001F600"};
        static const auto& known = ConfigStoreConstants::URL_PROVISIONING_CONFIG_KEY_ARRAY;
        switch (upTo(5)) {
        case 0:
            return known[upTo(2)];  // a few, so that there are duplicates
        case 1:
            return inAnotherCase(known[upTo(known.size() - 1)]);
        case 2:
            return L"AllowUrlProvisioning";
        case 3:
            return L"?" + known[upTo(2)] + L"=" + std::to_wstring(upTo(99)) + L"&";
        default:
            return marks[upTo(marks.size() - 1)];
        }
    }

    std::wstring inAnotherCase(std::wstring text) {
        wchar_t& letter = text[upTo(text.size() - 1)];
        letter = letter == L's' ? L'\u017F' : static_cast<wchar_t>(std::towupper(static_cast<std::wint_t>(letter)));
        return text;
    }

    std::size_t upTo(std::size_t most) { return std::uniform_int_distribution<std::size_t>(0, most)(random_); }

    std::mt19937 random_;
};

}  // namespace

TEST(LinkReading, TellsWhyAWholeLinkIsRefused) {
    EXPECT_EQ(reasonFor(readLink(L"")), "it is empty");
    EXPECT_EQ(reasonFor(readLink(std::wstring(1000, L'\u00e4'))), "it has 1000 characters, and 999 is the most");
    EXPECT_EQ(reasonFor(readLink(L"ServicesDomain=a")),
              "it has no question mark, behind which its settings would stand");
    EXPECT_EQ(reasonFor(readLink(L"x?")), "nothing stands behind its question mark");
    EXPECT_EQ(reasonFor(readLink(L"x?Unknown=a")), "none of its parts sets a key that a link may set");
}

TEST(LinkReading, HasNoPartsWhereTheQueryIsNotRead) {
    EXPECT_THAT(readLink(std::wstring(985, L'x') + L"?ServicesDomain=a").parts, IsEmpty());
    EXPECT_THAT(readLink(L"ServicesDomain=a&b").parts, IsEmpty());
}

TEST(LinkReading, TellsTheFateOfEachPart) {
    EXPECT_THAT(fatesOf(L"x?ServicesDomain=1&&a&b=c=d& =e&Unknown=f&servicesdomain=2"),
                ElementsAre(PartFate::Overwritten, PartFate::Empty, PartFate::NoEqualsSign,
                            PartFate::SeveralEqualsSigns, PartFate::NoKey, PartFate::UnknownKey, PartFate::Taken));
}

TEST(LinkReading, TellsWhyAPartIsDropped) {
    EXPECT_EQ(reasonFor(PartFate::Empty), "it is empty");
    EXPECT_EQ(reasonFor(PartFate::NoEqualsSign), "it has no equals sign");
    EXPECT_EQ(reasonFor(PartFate::SeveralEqualsSigns), "it has more than one equals sign");
    EXPECT_EQ(reasonFor(PartFate::NoKey), "no key stands before its equals sign");
    EXPECT_EQ(reasonFor(PartFate::UnknownKey), "no link may set this key");
    EXPECT_EQ(reasonFor(PartFate::Overwritten), "a later part sets the same key");
}

TEST(LinkReading, GivesTheFirstSpellingAndTheLastValueOfADuplicate) {
    const LinkReading reading = readLink(L"x?ServicesDomain=1&SERVICESDOMAIN=2&servicesdomain= 3 ");
    EXPECT_THAT(takenFrom(reading), ElementsAre(testing::Pair(L"ServicesDomain", L"3")));
}

TEST(LinkReading, NamesAllFourteenKeys) {
    const std::string keys = keysOfLinks();
    EXPECT_EQ(std::count(keys.begin(), keys.end(), ','), 13);
    EXPECT_THAT(keys, testing::StartsWith("ServicesDomain, VoiceServicesDomain, "));
    EXPECT_THAT(keys, testing::EndsWith(", PRTCertificateName"));
}

TEST(LinkReading, AgreesWithTheModuleOnRandomLinks) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    RecordProperty("seed", std::to_string(seed));
    RandomLinks links(seed);
    std::size_t taken = 0;
    constexpr std::size_t LINKS = 20000;
    for (std::size_t i = 0; i < LINKS && !HasFailure(); ++i) {
        const std::wstring link = links.next();
        ConfigMap values;
        const bool accepted = ConfigStoreManager::parseUrlProvisioningData(link, values);
        const LinkReading reading = readLink(link);
        EXPECT_EQ(reading.isTaken(), accepted) << testing::PrintToString(link);
        const std::map<std::wstring, std::wstring> expected(values.begin(), values.end());
        EXPECT_EQ(takenFrom(reading), expected) << testing::PrintToString(link);
        taken += accepted ? 1 : 0;
    }
    EXPECT_GT(taken, LINKS / 10);  // the links are neither all good nor all bad
    EXPECT_LT(taken, LINKS / 10 * 9);
}
