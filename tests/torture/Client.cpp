#include "Client.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <utility>

#include "ConfigAdapter.h"
#include "ConfigServiceImpl.h"
#include "ConfigStoreConstants.h"
#include "InjectConfigService.h"
#include "fakes/ScriptedStore.h"
#include "quill/FileUtils.h"
#include "quill/StringUtils.h"
#include "stores/CacheConfigStore.h"
#include "stores/LocalFileConfigStore.h"

namespace torture {
namespace {

namespace fs = std::filesystem;

constexpr int keysOfAState = 8;

std::wstring paddingOf(int state) { return std::wstring(static_cast<std::size_t>(state % 7) * 900, L'p'); }

std::vector<std::string> filesBelow(const std::string& folder) {
    std::vector<std::string> files;
    std::error_code missing;
    for (const auto& entry : fs::recursive_directory_iterator(folder, missing)) {
        if (!entry.is_directory()) {
            files.push_back(entry.path().string());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

bool isTemporary(const std::string& path) { return path.ends_with(".temp") || path.ends_with(".new"); }

/// The one state whose every key a store holds.
template <class Ask>
int oneState(const std::wstring& prefix, const Ask& ask) {
    std::vector<std::wstring> values;
    for (int number = 0; number < keysOfAState; ++number) {
        std::wstring value;
        if (ask(prefix + std::to_wstring(number), value)) {
            values.push_back(value);
        }
    }
    std::wstring padding;
    const bool isPadded = ask(prefix + L"padding", padding);
    if (values.empty() && !isPadded) {
        return States::none;
    }
    const bool isWhole = isPadded && values.size() == keysOfAState &&
                         std::adjacent_find(values.begin(), values.end(), std::not_equal_to<>()) == values.end();
    const int state = isWhole ? QuillCoreUtils::toInt(values.front(), States::torn) : States::torn;
    return state != States::torn && padding == paddingOf(state) ? state : States::torn;
}

std::map<std::wstring, std::wstring> valuesOf(const std::wstring& prefix, int state) {
    std::map<std::wstring, std::wstring> values;
    for (int number = 0; number < keysOfAState; ++number) {
        values[prefix + std::to_wstring(number)] = std::to_wstring(state);
    }
    values[prefix + L"padding"] = paddingOf(state);
    return values;
}

int stateOfStore(ConfigStore& store, const std::wstring& prefix) {
    return oneState(prefix, [&](const std::wstring& key, std::wstring& value) { return store.getValue(key, value); });
}

/// Whether the server of joinServer() is in the list.
template <class Ask>
bool listsServer(const Ask& ask) {
    std::wstring list;
    return ask(ConfigStoreConstants::PRIMARY_CONFIG_STORES_KEY, list) && list.find(L"Server:") != std::wstring::npos;
}

void readUserFile(const Scene& scene, States& states) {
    const std::size_t earlier = scene.backups().size();
    LocalFileConfigStore store("files", 20, scene.config(), "corvidLocalConfig.xml", false, true);
    // What is no document has been set aside, and the store is as empty as one without a file.
    states.user = scene.backups().size() == earlier ? stateOfStore(store, L"user") : States::torn;
    states.isServerListed =
        listsServer([&](const std::wstring& key, std::wstring& value) { return store.getValue(key, value); });
}

/// @param ask for the state of the store that has read the file.
template <class Ask>
int stateOfCache(const std::string& path, const Ask& ask) {
    CacheConfigStore store("files", 240, path);
    const int state = ask(store);
    // Every file that the module writes has keys of ours.
    return state == States::none && fs::exists(path) ? States::torn : state;
}

}  // namespace

Scene::Scene(std::string folder) : folder_(std::move(folder)) {
    fs::create_directories(config());
    fs::create_directories(install());
}

void Scene::copyFrom(const Scene& other) const {
    for (const auto& [from, to] : {std::pair(other.config(), config()), std::pair(other.install(), install())}) {
        fs::remove_all(to);
        if (!fs::exists(from)) {
            continue;
        }
        fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    }
}

std::string Scene::fingerprint() const {
    std::string print;
    for (const std::string& path : filesBelow(config())) {
        std::string name = path.substr(config().size());
        if (isTemporary(name)) {
            std::replace_if(
                name.begin(), name.end(), [](char c) { return c >= '0' && c <= '9'; }, '0');
        }
        print += name + "\n" + bytesOf(path) + "\n";
    }
    return print;
}

std::vector<std::string> Scene::temporaries() const {
    std::vector<std::string> paths = filesBelow(config());
    std::erase_if(paths, [](const std::string& path) { return !isTemporary(path); });
    return paths;
}

std::vector<std::string> Scene::backups() const {
    std::vector<std::string> paths = filesBelow(config());
    std::erase_if(paths, [](const std::string& path) { return path.find("-backup") == std::string::npos; });
    return paths;
}

bool Scene::keeps(const std::string& bytes) const {
    std::vector<std::string> files = backups();
    files.push_back(localFile());
    return std::any_of(files.begin(), files.end(), [&](const std::string& file) { return bytesOf(file) == bytes; });
}

void Scene::damage() const {
    std::ofstream(localFile(), std::ios::trunc) << damaged;
    std::ofstream(config() + "/corvidLocalConfig-backup.xml", std::ios::trunc) << damagedEarlier;
}

States States::of(const Scene& scene) {
    States states;
    readUserFile(scene, states);
    states.server = stateOfCache(scene.serverFile(), [](ConfigStore& store) { return stateOfStore(store, L"server"); });
    states.link = stateOfCache(scene.linkFile(), [](ConfigStore& store) {
        std::wstring value;
        return store.getValue(L"ServicesDomain", value) ? QuillCoreUtils::toInt(value, States::torn) : States::none;
    });
    return states;
}

std::string States::text() const {
    return "user " + std::to_string(user) + ", server " + std::to_string(server) + ", link " + std::to_string(link) +
           (isServerListed ? ", the server listed" : "");
}

Client::ScopedPlace::ScopedPlace(const Scene& scene) {
    platform::World world;
    world.configDirectory = scene.config();
    world.installationDirectory = scene.install();
    world.bootstrapFilePath = scene.install() + "/bootstrap.properties";
    platform::setWorld(std::make_shared<platform::World>(world));
}

Client::ScopedPlace::~ScopedPlace() { platform::setWorld(std::make_shared<platform::World>()); }

Client::Client(const Scene& scene)
    : place_(scene),
      systemService_(std::make_shared<SystemServiceImpl>()),
      dispatcher_(std::make_shared<fakes::HandSteppedDispatcher>()),
      tasks_(std::make_shared<fakes::HandSteppedTaskDispatcher>()),
      factory_(std::make_shared<UnifiedFactory>(dispatcher_, tasks_)) {
    factory_->setService<SystemService>(7, systemService_);
    InjectConfigService(factory_);
    featureSet_ = factory_->getFeatureSet<ConfigFeatureSet>();
    factory_->getFeatureSetAdapter(CONFIG_SERVICE_ID)->StartFeatureSet(CONFIG_SERVICE_ID, nullptr);
    settle();
}

Client::~Client() {
    const auto adapter = factory_->getFeatureSetAdapter(CONFIG_SERVICE_ID);
    adapter->StopFeatureSet(CONFIG_SERVICE_ID, nullptr);
    settle();
    adapter->Destroy();
    systemService_->resetDataProvider()->clear();
    factory_->clear();
}

void Client::useTransport(std::shared_ptr<platform::HttpTransport> transport) {
    platform::World world = *platform::getWorld();
    world.httpTransport = std::move(transport);
    platform::setWorld(std::make_shared<platform::World>(world));
}

void Client::settle() {
    while (dispatcher_->runAll() + tasks_->runAll() > 0) {
    }
}

void Client::setUser(int state) {
    featureSet_->setConfig(valuesOf(L"user", state));
    settle();
}

void Client::touchUser() {
    static int touches = 0;
    featureSet_->setConfig(L"touched", std::to_wstring(++touches));
    settle();
}

void Client::joinServer(int state) {
    const auto store = std::make_shared<fakes::ScriptedStore>("Server", 300);
    store->readOnly().remote().cached();
    for (const auto& [key, value] : valuesOf(L"server", state)) {
        store->with(key, value);
    }
    featureSet_->addConfigStore(store);
    settle();
}

void Client::removeServer() {
    featureSet_->removeConfigStore("Server");
    settle();
}

void Client::takeLink(int state) {
    featureSet_->resetAllowUriProvisioningData();
    featureSet_->setUrlProvisioningData(L"corvid://setup?ServicesDomain=" + std::to_wstring(state));
    settle();
}

void Client::resetData() {
    std::dynamic_pointer_cast<ConfigAdapter>(factory_->getFeatureSetAdapter(CONFIG_SERVICE_ID))->InvokeResetData();
    settle();
}

void Client::setUserAndRefresh(int state) {
    setUser(state);
    featureSet_->refreshConfigFeatureSet();
    settle();
}

int Client::stateOf(const std::wstring& prefix) {
    return oneState(prefix, [this](const std::wstring& key, std::wstring& value) {
        return featureSet_->getConfig(key, value, false);
    });
}

States Client::answers() {
    States states;
    states.user = stateOf(L"user");
    states.server = stateOf(L"server");
    std::wstring value;
    states.link = featureSet_->getConfig(L"ServicesDomain", value, false) ? QuillCoreUtils::toInt(value, States::torn)
                                                                          : States::none;
    states.isServerListed = listsServer(
        [this](const std::wstring& key, std::wstring& text) { return featureSet_->getConfig(key, text, false); });
    return states;
}

std::vector<std::string> Client::complaints() {
    std::vector<std::string> texts = log().texts(2);
    const std::vector<std::string> warnings = log().texts(3);
    texts.insert(texts.end(), warnings.begin(), warnings.end());
    return texts;
}

bool tellsOf(const std::vector<std::string>& complaints, const std::string& path) {
    const std::string folder = QuillCoreUtils::FileUtils::getParentDirectory(path);
    const std::string folderAbove = QuillCoreUtils::FileUtils::getParentDirectory(folder);
    return std::any_of(complaints.begin(), complaints.end(), [&](const std::string& text) {
        const bool isNamed = text.find(path) != std::string::npos ||
                             text.find("[" + folder + "]") != std::string::npos ||
                             text.find("[" + folderAbove + "]") != std::string::npos;
        // Each start without a file says so, and a reset ends with one.
        return isNamed && !text.starts_with("Read config FAILED, config file doesn't exist");
    });
}

const char* nameOf(Deed deed) {
    switch (deed) {
    case Deed::SetUser:
        return "persist";
    case Deed::JoinServer:
        return "cache write";
    case Deed::RemoveServer:
        return "removal";
    case Deed::TakeLink:
        return "provisioning link";
    case Deed::ResetData:
        return "data reset";
    case Deed::Refresh:
        break;
    }
    return "persist and refresh";
}

void perform(Client& client, Deed deed, int state) {
    switch (deed) {
    case Deed::SetUser:
        client.setUser(state);
        break;
    case Deed::JoinServer:
        client.joinServer(state);
        break;
    case Deed::RemoveServer:
        client.removeServer();
        break;
    case Deed::TakeLink:
        client.takeLink(state);
        break;
    case Deed::ResetData:
        client.resetData();
        break;
    case Deed::Refresh:
        client.setUserAndRefresh(state);
        break;
    }
}

std::string bytesOf(const std::string& path) {
    std::string bytes;
    QuillCoreUtils::FileUtils::readFile(path, bytes);
    return bytes;
}

void writeFiles(const Scene& scene, int state) {
    Client client(scene);
    client.takeLink(state);
    client.joinServer(state);
    client.setUser(state);
}

States prepare(const Scene& scene, Day day, int state) {
    if (day == Day::First) {
        fs::remove_all(scene.config());
        return {};
    }
    writeFiles(scene, state);
    return {state, state, state, true};
}

std::string otherAnswers(Client& client, const States& files) {
    const States answers = client.answers();
    States wanted = files;
    wanted.server = files.isServerListed ? files.server : States::none;
    return answers == wanted ? "" : "a client answers " + answers.text() + " to files of " + files.text();
}

States after(const States& before, Deed deed, int state) {
    States states = before;
    switch (deed) {
    case Deed::SetUser:
    case Deed::Refresh:
        states.user = state;
        break;
    case Deed::JoinServer:
        states.server = state;
        states.isServerListed = true;
        break;
    case Deed::RemoveServer:
        states.server = before.isServerListed ? States::none : before.server;
        states.isServerListed = false;
        break;
    case Deed::TakeLink:
        states.link = state;
        break;
    case Deed::ResetData:
        states.user = States::none;
        states.server = States::none;
        states.isServerListed = false;
        break;
    }
    return states;
}

std::string neitherOldNorNew(const States& found, const States& before, const States& after) {
    // A file that was torn before is no old one.
    const auto isEither = [](int value, int one, int other) {
        return value != States::torn && (value == one || value == other);
    };
    if (isEither(found.user, before.user, after.user) && isEither(found.server, before.server, after.server) &&
        isEither(found.link, before.link, after.link) &&
        isEither(found.isServerListed, before.isServerListed, after.isServerListed)) {
        return "";
    }
    return "found " + found.text() + "; before " + before.text() + "; after " + after.text();
}

std::string otherThanKilled(const States& found, const States& before, const States& after) {
    const bool isLeftOver = before.isServerListed && !found.isServerListed && found.server != States::none;
    return isLeftOver ? "a copy is left that is listed no more" : neitherOldNorNew(found, before, after);
}

}  // namespace torture
