// A store of one's own: the environment joins the chain, and a live value comes from it.
// CORVID_ServicesDomain=example.org environment-store CONFIGURATION-DIRECTORY
#include <iostream>
#include <memory>
#include <string>

#include "ConfigFeatureSet.h"
#include "ConfigService.h"
#include "EnvironmentStore.h"
#include "host/ReferenceHost.h"

using QuillCoreUtils::toString;

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: environment-store CONFIGURATION-DIRECTORY\n";
        return 2;
    }
    host::ReferenceHost::Options options;
    options.configDirectory = argv[1];
    options.powerEvents = false;  // over before it matters
    host::ReferenceHost host(options);
    if (!host.start()) {
        std::cerr << "environment-store: " << host.failure() << "\n";
        return 1;
    }
    host.runOnDispatcher([&] {
        const std::shared_ptr<ConfigValue> domain = host.service()->getConfig(L"ServicesDomain");
        //! [add a store]
        host.featureSet()->addConfigStore(std::make_shared<EnvironmentStore>());
        std::cout << "ServicesDomain is \"" << toString(domain->getValue()) << "\" from ["
                  << toString(domain->getValueStoreName()) << "]\n";
        //! [add a store]
        domain->setConfig(L"example.com");
        std::cout << "the user's \"" << toString(domain->getValue()) << "\" hides \""
                  << toString(domain->getOriginalValue()) << "\" from ["
                  << toString(domain->getOriginalValueStoreName()) << "]\n";
        //! [remove a store]
        host.featureSet()->removeConfigStore("EnvironmentStore");
        //! [remove a store]
        std::cout << "without the store nobody hides: \"" << toString(domain->getOriginalValue()) << "\"\n";
    });
    return 0;
}
