#include "unified/UnifiedBusinessObjectImpl.h"

#include <stdexcept>
#include <thread>

#include "fakes/HandSteppedDispatcher.h"
#include "fakes/RecordingLogSink.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

class Nobody : public UnifiedBusinessObjectObserver {};

class Object : public UnifiedBusinessObjectImpl {
public:
    using UnifiedBusinessObjectImpl::UnifiedBusinessObjectImpl;

    using UnifiedBusinessObjectImpl::EnsureUpdateAccess;
    using UnifiedBusinessObjectImpl::getFactory;
    using UnifiedBusinessObjectImpl::isObservedOnlyBy;
    using UnifiedBusinessObjectImpl::lockObservers;
    using UnifiedBusinessObjectImpl::notifiers_;
};

class NoNotifiers : public UnifiedBusinessObjectNotifiers {
public:
    std::shared_ptr<PropertyNotifier> getGuidNotifier() override { return nullptr; }
};

struct World {
    std::shared_ptr<fakes::HandSteppedDispatcher> dispatcher = std::make_shared<fakes::HandSteppedDispatcher>();
    std::shared_ptr<UnifiedFactory> factory = std::make_shared<UnifiedFactory>(dispatcher, nullptr);
};

}  // namespace

TEST(UnifiedBusinessObjectImpl, KeepsObserversInTheOrderOfTheirRegistration) {
    Object object(nullptr, "Object");
    const auto first = std::make_shared<Nobody>();
    const auto second = std::make_shared<Nobody>();
    const auto third = std::make_shared<Nobody>();
    object.addObserver(first);
    object.addObserver(second);
    object.addObserver(third);
    object.removeObserver(second);
    EXPECT_THAT(object.lockObservers(), ElementsAre(first, third));
}

TEST(UnifiedBusinessObjectImpl, CountsAnObserverOnce) {
    Object object(nullptr, "Object");
    const auto observer = std::make_shared<Nobody>();
    object.addObserver(observer);
    object.addObserver(observer);
    EXPECT_THAT(object.lockObservers(), ElementsAre(observer));
    object.removeObserver(observer);
    EXPECT_THAT(object.lockObservers(), IsEmpty());
}

TEST(UnifiedBusinessObjectImpl, TakesTheRemovalOfAStrangerAndDeadReferences) {
    Object object(nullptr, "Object");
    const auto observer = std::make_shared<Nobody>();
    object.addObserver(observer);
    object.addObserver({});
    object.removeObserver(std::make_shared<Nobody>());
    object.removeObserver({});
    EXPECT_THAT(object.lockObservers(), ElementsAre(observer));
}

TEST(UnifiedBusinessObjectImpl, HoldsObserversWeaklyAndForgetsDeadOnes) {
    Object object(nullptr, "Object");
    auto first = std::make_shared<Nobody>();
    const auto second = std::make_shared<Nobody>();
    object.addObserver(first);
    object.addObserver(second);
    first.reset();
    EXPECT_THAT(object.lockObservers(), ElementsAre(second));
}

TEST(UnifiedBusinessObjectImpl, KeepsObserversAliveForAFire) {
    Object object(nullptr, "Object");
    auto observer = std::make_shared<Nobody>();
    object.addObserver(observer);
    const auto fired = object.lockObservers();
    const std::weak_ptr<Nobody> watch = observer;
    observer.reset();
    EXPECT_FALSE(watch.expired());
}

TEST(UnifiedBusinessObjectImpl, KnowsWhetherNobodyElseObservesIt) {
    Object object(nullptr, "Object");
    const auto own = std::make_shared<Nobody>();
    auto other = std::make_shared<Nobody>();
    EXPECT_FALSE(object.isObservedOnlyBy(own.get()));
    object.addObserver(own);
    EXPECT_TRUE(object.isObservedOnlyBy(own.get()));
    EXPECT_FALSE(object.isObservedOnlyBy(other.get()));
    EXPECT_FALSE(object.isObservedOnlyBy(nullptr));
    object.addObserver(other);
    EXPECT_FALSE(object.isObservedOnlyBy(own.get()));
    object.removeObserver(other);
    EXPECT_TRUE(object.isObservedOnlyBy(own.get()));
    object.removeObserver(own);
    EXPECT_FALSE(object.isObservedOnlyBy(nullptr));
    object.addObserver(other);
    EXPECT_FALSE(object.isObservedOnlyBy(own.get()));
    EXPECT_EQ(own.use_count(), 1);
}

TEST(UnifiedBusinessObjectImpl, KnowsAgainThatNobodyElseObservesItOnceTheOtherIsDead) {
    Object object(nullptr, "Object");
    const auto own = std::make_shared<Nobody>();
    auto other = std::make_shared<Nobody>();
    object.addObserver(own);
    object.addObserver(other);
    other.reset();
    EXPECT_EQ(object.lockObservers().size(), 1U);
    EXPECT_TRUE(object.isObservedOnlyBy(own.get()));
}

TEST(UnifiedBusinessObjectImpl, TakesObserversFromManyThreads) {
    Object object(nullptr, "Object");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int j = 0; j < 100; ++j) {
                const auto observer = std::make_shared<Nobody>();
                object.addObserver(observer);
                EXPECT_FALSE(object.lockObservers().empty());
                object.removeObserver(observer);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(object.lockObservers(), IsEmpty());
}

TEST(UnifiedBusinessObjectImpl, HasAGuidOfItsOwnThatStays) {
    const Object first(nullptr, "Object");
    const Object second(nullptr, "Object");
    EXPECT_FALSE(first.getGuid().empty());
    EXPECT_EQ(first.getGuid(), first.getGuid());
    EXPECT_NE(first.getGuid(), second.getGuid());
}

TEST(UnifiedBusinessObjectImpl, TellsClassNameAndGuid) {
    const Object object(nullptr, "ConfigValueBaseImpl");
    EXPECT_EQ(object.toString(), "ConfigValueBaseImpl " + object.getGuid());
}

TEST(UnifiedBusinessObjectImpl, GivesTheFactoryAndTheNotifiersThatADerivedClassMade) {
    const World world;
    Object object(world.factory, "Object");
    EXPECT_EQ(object.getFactory(), world.factory);
    EXPECT_EQ(object.getUnifiedBusinessObjectNotifiers(), nullptr);
    object.notifiers_ = std::make_shared<NoNotifiers>();
    EXPECT_EQ(object.getUnifiedBusinessObjectNotifiers(), object.notifiers_);
}

TEST(UnifiedBusinessObjectImpl, PassesTheDispatcherThread) {
    const World world;
    const Object object(world.factory, "Object");
    EXPECT_NO_THROW(object.EnsureUpdateAccess(true));
}

TEST(UnifiedBusinessObjectImpl, LogsAndRefusesEveryOtherThread) {
    const fakes::ScopedRecordingLog log;
    const World world;
    const Object object(world.factory, "ConfigValueBaseImpl");
    std::string refusal;
    std::thread([&] {
        try {
            object.EnsureUpdateAccess(true);
        } catch (const std::logic_error& error) {
            refusal = error.what();
        }
    }).join();
    EXPECT_THAT(refusal, HasSubstr("ConfigValueBaseImpl"));
    EXPECT_THAT(refusal, HasSubstr("update access"));
    EXPECT_THAT(refusal, HasSubstr("dispatcher thread"));
    ASSERT_EQ(log->lines().size(), 1U);
    EXPECT_EQ(log->lines()[0].level, 2);
    EXPECT_EQ(log->lines()[0].logger, "UnifiedBusinessObject");
    EXPECT_EQ(log->lines()[0].text, refusal);
}

TEST(UnifiedBusinessObjectImpl, ChecksWithTheBoolOfItsConstructorTrue) {
    const fakes::ScopedRecordingLog log;
    const World world;
    world.dispatcher->setUpdateAccess(false);
    const Object object(world.factory, true, "Object");
    EXPECT_THROW(object.EnsureUpdateAccess(true), std::logic_error);
}

TEST(UnifiedBusinessObjectImpl, PassesEveryThreadWhereNoCheckIsRequired) {
    const World world;
    world.dispatcher->setUpdateAccess(false);
    const Object object(world.factory, "Object");
    EXPECT_NO_THROW(object.EnsureUpdateAccess(false));
}

TEST(UnifiedBusinessObjectImpl, PassesEveryThreadOfAnObjectThatGuardsItself) {
    const World world;
    world.dispatcher->setUpdateAccess(false);
    const Object object(world.factory, false, "Object");
    EXPECT_NO_THROW(object.EnsureUpdateAccess(true));
}

TEST(UnifiedBusinessObjectImpl, PassesEveryThreadWithoutADispatcher) {
    const Object withoutDispatcher(std::make_shared<UnifiedFactory>(nullptr, nullptr), "Object");
    EXPECT_NO_THROW(withoutDispatcher.EnsureUpdateAccess(true));
    const Object withoutFactory(nullptr, "Object");
    EXPECT_NO_THROW(withoutFactory.EnsureUpdateAccess(true));
}
