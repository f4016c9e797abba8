// A client of the configuration service: gets the live value of a key, observes it and sets it.
#include <iostream>
#include <memory>

#include "ConfigService.h"
#include "host/ReferenceHost.h"
#include "quill/StringUtils.h"
#include "unified/UnifiedFactory.h"

namespace {

//! [observer]
/// Prints the value whenever it changes. The value holds its observers weakly, so the client keeps this one alive.
class ValuePrinter : public ConfigValueObserver {
public:
    explicit ValuePrinter(std::weak_ptr<ConfigValue> value) : value_(std::move(value)) {}

    void OnValueChanged() override {
        if (const auto value = value_.lock()) {
            std::cout << "changed to \"" << QuillCoreUtils::toString(value->getValue()) << "\"\n";
        }
    }

private:
    const std::weak_ptr<ConfigValue> value_;
};
//! [observer]

//! [client]
/// The client's part, on the dispatcher thread, as everything that touches the service. @return the exit status.
int observeAKey(const std::shared_ptr<UnifiedFactory>& factory) {
    const auto service = factory->getService<ConfigService>();
    if (service == nullptr) {
        return 1;
    }
    const auto value = service->getConfig(L"ServicesDomain");  // never null: undefined until a store holds the key
    const auto printer = std::make_shared<ValuePrinter>(value);
    value->addObserver(printer);
    value->setConfig(L"example.com");  // the printer hears of it before this returns
    std::cout << QuillCoreUtils::toString(value->getKey()) << " comes from "
              << QuillCoreUtils::toString(value->getValueStoreName()) << "\n";
    return value->equals(L"example.com") ? 0 : 1;
}
//! [client]

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: observe-a-key CONFIGURATION-DIRECTORY\n";
        return 2;
    }
    //! [host]
    host::ReferenceHost::Options options;
    options.configDirectory = argv[1];
    options.powerEvents = false;  // over before it matters
    host::ReferenceHost host(options);
    int status = 1;
    if (host.start()) {
        host.runOnDispatcher([&] { status = observeAKey(host.factory()); });
        host.stop();
    }
    //! [host]
    return status;
}
