#include "DownloadScripts.h"

namespace simulation {

namespace {

std::string document(const std::string& entries) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Server>\n<Policies>\n" + entries + "</Policies>\n</Server>\n";
}

std::string versionDocument(const std::string& elements) {
    return "<versionInformation>" + elements + "</versionInformation>";
}

}  // namespace

const std::vector<DownloadDocument>& downloadDocuments() {
    static const std::vector<DownloadDocument> documents = {
        {"plain",
         document("<Meetings_Enabled>true</Meetings_Enabled><Ringer> loud </Ringer>"),
         true,
         {{L"meetings_enabled", L"true"}, {L"ringer", L"loud"}}},
        {"other",
         document("<Meetings_Enabled>false</Meetings_Enabled><Theme sensitive=\"true\">dark</Theme>"),
         true,
         {{L"meetings_enabled", L"false"}, {L"theme", L"dark", true}}},
        {"secrets",
         document("<ConnectionPassword>first secret</ConnectionPassword>"
                  "<BDIConnectionPassword sensitive=\"true\">second secret</BDIConnectionPassword>"
                  "<Ringer>soft</Ringer>"),
         true,
         {{L"bdiconnectionpassword", L"second secret", true, true},
          {L"connectionpassword", L"first secret", false, true},
          {L"ringer", L"soft"}}},
        {"certificates",
         document("<CertificateValidationEnabled>false</CertificateValidationEnabled><Theme>light</Theme>"),
         true,
         {{L"certificatevalidationenabled", L"false"}, {L"theme", L"light"}}},
        {"calls",
         document("<Telephony_P2P_Enabled>true</Telephony_P2P_Enabled>"),
         true,
         {{L"telephony_p2p_enabled", L"true"}}},
        {"without entries", document(""), true, {}},
        {"malformed", "<Server><Policies><Ringer>loud</Policies></Server>", false, {}},
        {"no document", "404", false, {}},
        {"nothing", "", false, {}},
    };
    return documents;
}

const std::vector<VersionAnswer>& versionAnswers() {
    static const std::vector<VersionAnswer> answers = {
        {"", ""},
        {versionDocument("<version>10.5.2</version>"), "10.5.2"},
        {versionDocument("<version>11</version>"), "11"},
        {versionDocument("<version> 12.5 </version>"), "12.5"},
        {versionDocument("<version>12.5</version><version>10.0</version>"), "10.0"},
        {versionDocument("<version>99999999999999999999</version>"), "99999999999999999999"},
        {versionDocument("<version>11.5SU1</version>"), "11.5SU1"},
        {versionDocument("<version>.</version>"), "."},
        {versionDocument("<version></version>"), ""},
        {versionDocument("<Version>12.5</Version>"), ""},
        {"12.5", ""},
    };
    return answers;
}

}  // namespace simulation
