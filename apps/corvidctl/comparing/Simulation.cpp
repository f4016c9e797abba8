#include "comparing/Simulation.h"

#include "ConfigFeatureSet.h"
#include "comparing/AlteredProfile.h"
#include "comparing/FileDelivery.h"
#include "comparing/StoreNames.h"
#include "quill/StringUtils.h"
#include "session/ProfileCopy.h"
#include "session/Session.h"

namespace corvidctl {

namespace {

using QuillCoreUtils::toWideString;

Picture pictureOf(Session& session) {
    Picture picture;
    session.work([&picture](Session::Inside& inside) { picture = takePicture(inside.chain); });
    return picture;
}

class Simulator {
public:
    Simulator(const Invocation& invocation, const SimulationPlan& plan, Rehearsal& rehearsal)
        : invocation_(invocation), plan_(plan), rehearsal_(rehearsal) {}

    SimulationView run() {
        for (const SimulationPlan::Replacement& replacement : plan_.replacements) {
            if (const std::string problem = problemOf(replacement); !problem.empty()) {
                throw std::runtime_error(problem);
            }
        }
        rehearsal_.run("reading the configuration as it is …", [this] { runBefore(); });
        AlteredProfile altered(invocation_);
        for (SimulationPlan::Replacement replacement : plan_.replacements) {
            replacement.store = spelledAsInTheChain(replacement);
            altered.apply(replacement);
        }
        runAfter(altered.invocation());
        view_.changes = changesBetween(before_.values, after_.values, invocation_.reveal);
        return std::move(view_);
    }

private:
    void runBefore() {
        const ProfileCopy copy(invocation_.host.configDirectory);
        Session session(Rehearsal::onCopy(invocation_, copy.path()));
        before_ = pictureOf(session);
        session.finish();
    }

    /// The name of a cached copy is that of its file, whose case counts.
    std::string spelledAsInTheChain(const SimulationPlan::Replacement& replacement) const {
        if (replacement.place != StorePlace::CachedCopy) {
            return replacement.store;
        }
        const Layer* const layer = findLayer(before_.layers, replacement.store);
        if (layer == nullptr) {
            throw WrongUse(replacement.words() +
                           ": expected a store of this configuration: " + listOfStores(before_.layers));
        }
        return layer->store;
    }

    void runAfter(const Invocation& onCopy) {
        std::unique_ptr<Session> session;
        rehearsal_.run("reading it with the change …", [&] {
            session = std::make_unique<Session>(onCopy);
            changeUserValues(*session);
        });
        for (const SimulationPlan::Replacement& replacement : plan_.replacements) {
            if (replacement.place == StorePlace::Server) {
                tell(deliver(*session, rehearsal_, *replacement.file));
            }
        }
        rehearsal_.run("comparing …", [&] {
            after_ = pictureOf(*session);
            session->finish();
        });
    }

    void changeUserValues(Session& session) {
        session.work([this](Session::Inside& inside) {
            for (const std::string& key : plan_.unsetKeys) {
                inside.featureSet.resetConfig(toWideString(key));
            }
            for (const auto& [key, value] : plan_.setKeys) {
                if (!inside.featureSet.setConfig(toWideString(key), toWideString(value))) {
                    view_.remarks.push_back("No writable store takes " + key + ".");
                }
            }
        });
    }

    void tell(const DeliveryView& delivery) {
        if (!delivery.serverWasKnown) {
            view_.remarks.push_back(
                "This configuration names no server to fetch the file from; its values are taken as "
                "if one had delivered it.");
        }
        if (!delivery.failure.empty()) {
            view_.remarks.push_back("The file's values do not stay: " + delivery.failure + ".");
        }
    }

    const Invocation& invocation_;
    const SimulationPlan& plan_;
    Rehearsal& rehearsal_;
    SimulationView view_;
    Picture before_;
    Picture after_;
};

}  // namespace

SimulationView simulate(const Invocation& invocation, const SimulationPlan& plan, Rehearsal& rehearsal) {
    return Simulator(invocation, plan, rehearsal).run();
}

}  // namespace corvidctl
