#include "support/ModuleHost.h"

#include <thread>

#include "remote/TftpConfigStore.h"
#include "stores/CacheConfigStore.h"
#include "stores/FileStamp.h"
#include "system/World.h"

namespace bench {
namespace {

constexpr std::size_t OVERRIDE_LAYER = 0;
constexpr std::size_t BOOTSTRAP_LAYER = 5;
constexpr std::size_t DEFAULTS_LAYER = 7;

const char* const OVERRIDE_FILE = "config/corvid-config-user.xml";
const char* const USER_FILE = "config/corvidLocalConfig.xml";

struct Copy {
    const char* file;
    std::size_t family;  ///< of its keys
};

constexpr Copy COPIES[] = {{"config/Cache/cachedTFTPConfigStore.xml", 60},
                           {"config/Cache/cachedPresenceConfigStore.xml", 61},
                           {"config/Cache/cachedUrlProvisioningConfigStore.xml", 62}};

std::string localDocument(const Entries& entries) {
    std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Corvid>\n";
    for (const auto& [key, value] : entries) {
        text += " <userConfig name=\"";
        text += key;
        text += "\" value=\"";
        text += value;
        text += "\"/>\n";
    }
    return text + "</Corvid>\n";
}

/// The list of stores takes the place of one of the user's keys, so that there are as many as in the other files.
Layers withListOfCopies(Layers layers) {
    layers[USER_LAYER].entries.back() = {"PrimaryConfigStores", "TFTPConfigStore:240;PresenceConfigStore:250;"};
    return layers;
}

}  // namespace

Profile::Profile(const Layers& layers) {
    directory_.write(OVERRIDE_FILE, xmlDocument(layers[OVERRIDE_LAYER].entries));
    directory_.write(USER_FILE, localDocument(layers[USER_LAYER].entries));
    directory_.write("install/bootstrap.properties", bootstrapDocument(layers[BOOTSTRAP_LAYER].entries));
    directory_.write("install/corvid-config-defaults.xml", localDocument(layers[DEFAULTS_LAYER].entries));
}

void Profile::enter() const {
    const auto world = std::make_shared<platform::World>();
    world->configDirectory = directory_.path("config");
    world->installationDirectory = directory_.path("install");
    world->bootstrapFilePath = directory_.path("install/bootstrap.properties");
    platform::setWorld(world);
}

WholeProfile::WholeProfile(std::size_t keys) : Profile(withListOfCopies(makeLayers(keys))) {
    for (const Copy& copy : COPIES) {
        directory().write(copy.file, xmlDocument(makeEntries(copy.family, keys)));
    }
    for (const char* file : {USER_FILE, OVERRIDE_FILE}) {
        while (!FileStamp::beforeReading(directory().path(file)).exists()) {
            std::this_thread::yield();
        }
    }
}

std::vector<std::wstring> WholeProfile::keyOfEachFile() {
    std::vector<std::wstring> keys;
    for (const std::size_t layer : {USER_LAYER, OVERRIDE_LAYER, BOOTSTRAP_LAYER, DEFAULTS_LAYER}) {
        keys.push_back(widen(makeKey(layer, 0)));
    }
    for (const Copy& copy : COPIES) {
        keys.push_back(widen(makeKey(copy.family, 0)));
    }
    return keys;
}

ModuleHost::ModuleHost(const std::shared_ptr<Processing::TaskDispatcher>& tasks)
    : factory_(std::make_shared<UnifiedFactory>(dispatcher_, tasks)) {
    dispatcher_->adoptCurrentThread([] {});
    InjectConfigService(factory_);
    adapter()->StartFeatureSet(CONFIG_SERVICE_ID, nullptr);
    dispatcher_->pump();
}

ModuleHost::~ModuleHost() {
    adapter()->StopFeatureSet(CONFIG_SERVICE_ID, nullptr);
    adapter()->Destroy();
    dispatcher_->pump();
    dispatcher_->stop();
    factory_->clear();
}

std::shared_ptr<ConfigServiceImpl> ModuleHost::service() const {
    return std::dynamic_pointer_cast<ConfigServiceImpl>(factory_->getService<ConfigService>());
}

std::shared_ptr<ConfigAdapter> ModuleHost::adapter() const {
    return std::dynamic_pointer_cast<ConfigAdapter>(factory_->getFeatureSetAdapter(CONFIG_SERVICE_ID));
}

void ModuleHost::addFurtherStores(const Layers& layers) const {
    adapter()->addConfigStore(makeReadOnlyStore("Third", 30, layers[2].entries));
    // Beside the adapter, which would write a copy of it.
    manager().addStore(makeServerStore("Fourth", 40, layers[3].entries));
    adapter()->addConfigStore(makeReadOnlyStore("Fifth", 240, layers[ADMINISTRATOR_LAYER].entries));
    for (const auto& [key, value] : layers[RUN_LAYER].entries) {
        adapter()->setInMemoryConfig(widen(key), widen(value));
    }
}

std::shared_ptr<ConfigStore> makeReadOnlyStore(const std::string& name, std::int32_t priority, const Entries& entries) {
    static const fakes::TemporaryDirectory directory;
    ConfigMap values;
    for (const auto& [key, value] : entries) {
        values[widen(key)] = widen(value);
    }
    return std::make_shared<CacheConfigStore>(name, priority, directory.path(name + ".xml"), values);
}

std::shared_ptr<ConfigStore> makeServerStore(const std::string& name, std::int32_t priority, const Entries& entries) {
    const auto dispatcher = std::make_shared<ServicesDispatcherImpl>();
    dispatcher->adoptCurrentThread([] {});
    const auto factory = std::make_shared<UnifiedFactory>(dispatcher, nullptr);
    auto store = std::make_shared<TftpConfigStore>(factory, name, priority, L"server", L"", L"", L"file.xml");
    std::string file = xmlDocument(entries);
    store->onDownloadComplete(file, HttpDownloader::HttpDownloadResultEnum::Success, "server", store);
    return store;
}

}  // namespace bench
