#include "comparing/Simulation.h"

#include "ConfigFeatureSet.h"
#include "comparing/AlteredProfile.h"
#include "comparing/FileDelivery.h"
#include "comparing/LoadFailures.h"
#include "comparing/PolicyErasure.h"
#include "comparing/StoreNames.h"
#include "output/Output.h"
#include "quill/StringUtils.h"
#include "session/ProfileCopy.h"
#include "session/Session.h"

namespace corvidctl {

namespace {

using QuillCoreUtils::toString;
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
        view_.fromKeptCopies = movesFromKeptCopies(before_.values, after_.values);
        view_.changes = changesBetween(before_.values, after_.values, invocation_.reveal);
        return std::move(view_);
    }

private:
    void runBefore() {
        std::vector<LoadFailure> failures = loadFailuresOf(invocation_.host);
        const ProfileCopy copy(invocation_.host.configDirectory);
        Session session(Rehearsal::onCopy(invocation_, copy.path()));
        session.work([&](Session::Inside& inside) {
            before_ = takePicture(inside.chain);
            keepThoseOf(inside.chain, failures);
        });
        session.finish();
        view_.remarks = sentencesOf(failures);
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
            if (!plan_.setKeys.empty() || !plan_.unsetKeys.empty()) {
                changeUserValues(onCopy);
            }
            session = std::make_unique<Session>(onCopy);
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
        spellAsTheUserDoes();
    }

    /// In a session of its own: what a policy erases goes only when the client starts the next time.
    void changeUserValues(const Invocation& onCopy) {
        Session session(onCopy);
        session.work([this](Session::Inside& inside) {
            for (const std::string& key : plan_.unsetKeys) {
                inside.featureSet.resetConfig(toWideString(key));
            }
            for (const auto& [key, value] : plan_.setKeys) {
                if (!inside.featureSet.setConfig(toWideString(key), toWideString(value))) {
                    view_.remarks.push_back("No writable store takes " + key + ".");
                }
            }
            for (const auto& [key, value] : plan_.setKeys) {
                tellIfWithoutEffect(toWideString(key), toString(toWideString(value)), inside);
            }
        });
        if (!session.finish()) {
            throw std::runtime_error("the copy to try it on could not be written");
        }
    }

    /// The user's file is read back with small letters in its keys.
    void spellAsTheUserDoes() {
        for (const auto& [key, value] : plan_.setKeys) {
            const auto found = after_.values.find(toWideString(key));
            if (found != after_.values.end()) {
                found->second.key = key;
            }
        }
    }

    /// @param value as the chain would read it.
    void tellIfWithoutEffect(const std::wstring& key, const std::string& value, const Session::Inside& inside) {
        const std::vector<std::string> stores = inside.reader.userStores();
        if (stores.empty()) {
            return;
        }
        const ValueView after = inside.reader.describe(key);
        const std::string stored = after.key + " would be stored in " + stores.front() + "; ";
        if (after.valueStoreName != stores.front()) {
            view_.remarks.push_back(stored + after.valueStoreName + " still wins, with " + quoted(after.value) + ".");
        } else if (const std::string policy = policyAgainst(key, inside.reader); !policy.empty()) {
            view_.remarks.push_back(stored + "the client erases it when it starts: " + policy + ".");
        } else if (ChainReader(inside.chain, true).describe(key).value != value) {
            view_.remarks.push_back(stored + "it still reads as " + quoted(after.value) + ".");
        }
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
