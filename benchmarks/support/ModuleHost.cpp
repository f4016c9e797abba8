#include "support/ModuleHost.h"

#include "stores/CacheConfigStore.h"
#include "system/World.h"

namespace bench {
namespace {

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

}  // namespace

Profile::Profile(const Layers& layers) {
    directory_.write("config/corvid-config-user.xml", xmlDocument(layers[0].entries));
    directory_.write("config/corvidLocalConfig.xml", localDocument(layers[USER_LAYER].entries));
    directory_.write("install/bootstrap.properties", bootstrapDocument(layers[5].entries));
    directory_.write("install/corvid-config-defaults.xml", localDocument(layers[7].entries));
}

void Profile::enter() const {
    const auto world = std::make_shared<platform::World>();
    world->configDirectory = directory_.path("config");
    world->installationDirectory = directory_.path("install");
    world->bootstrapFilePath = directory_.path("install/bootstrap.properties");
    platform::setWorld(world);
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
    adapter()->addConfigStore(makeReadOnlyStore("Fourth", 40, layers[3].entries));
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

}  // namespace bench
