#include "PropertyNotifierImpl.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PropertyNotifierTest : public ::testing::Test {
protected:
    ~PropertyNotifierTest() override {
        for (const auto& connection : connections) {
            if (const auto held = connection.lock()) {
                held->disconnect();
            }
        }
    }

    std::function<void()> note(const std::string& name) {
        return [this, name] { called.push_back(name); };
    }

    std::weak_ptr<PropertyNotifierConnection> connect(const boost::function<void()>& callback) {
        connections.push_back(notifier->connect(callback));
        return connections.back();
    }

    std::weak_ptr<PropertyNotifierConnection> addConnection(const std::function<void()>& callback) {
        connections.push_back(notifier->addConnection(callback));
        return connections.back();
    }

    std::shared_ptr<PropertyNotifierImpl> notifier = std::make_shared<PropertyNotifierImpl>();
    std::vector<std::weak_ptr<PropertyNotifierConnection>> connections;
    std::vector<std::string> called;
};

TEST_F(PropertyNotifierTest, FiresWithoutConnections) {
    notifier->fire();
    EXPECT_THAT(called, IsEmpty());
}

TEST_F(PropertyNotifierTest, CallsBoostCallbacksFirstWhateverTheOrderOfConnection) {
    addConnection(note("standard 1"));
    connect(note("boost 1"));
    addConnection(note("standard 2"));
    connect(note("boost 2"));
    notifier->fire();
    EXPECT_THAT(called, ElementsAre("boost 1", "boost 2", "standard 1", "standard 2"));
}

TEST_F(PropertyNotifierTest, CallsAtEveryFire) {
    connect(note("boost"));
    notifier->fire();
    notifier->fire();
    EXPECT_THAT(called, ElementsAre("boost", "boost"));
}

TEST_F(PropertyNotifierTest, CallsACallbackAsOftenAsItIsConnected) {
    connect(note("twice"));
    connect(note("twice"));
    notifier->fire();
    EXPECT_THAT(called, ElementsAre("twice", "twice"));
}

TEST_F(PropertyNotifierTest, KeepsAConnectionAliveThroughItsList) {
    const auto connection = connect(note("boost"));
    ASSERT_FALSE(connection.expired());
    EXPECT_TRUE(connection.lock()->connected());
    EXPECT_EQ(connection.use_count(), 1);
}

TEST_F(PropertyNotifierTest, DropsADisconnectedConnection) {
    const auto connection = connect(note("boost"));
    connection.lock()->disconnect();
    EXPECT_TRUE(connection.expired());
    notifier->fire();
    EXPECT_THAT(called, IsEmpty());
}

TEST_F(PropertyNotifierTest, DisconnectsASecondTimeWithoutEffect) {
    connect(note("first"));
    const auto connection = connect(note("second")).lock();
    connection->disconnect();
    EXPECT_FALSE(connection->connected());
    connection->disconnect();
    EXPECT_FALSE(connection->connected());
    notifier->fire();
    EXPECT_THAT(called, ElementsAre("first"));
}

TEST_F(PropertyNotifierTest, KeepsTheOrderOfTheOthersAfterADisconnect) {
    connect(note("a"));
    const auto second = connect(note("b"));
    connect(note("c"));
    connect(note("d"));
    second.lock()->disconnect();
    notifier->fire();
    EXPECT_THAT(called, ElementsAre("a", "c", "d"));
}

TEST_F(PropertyNotifierTest, SkipsACallbackThatAnEarlierOneDisconnected) {
    std::weak_ptr<PropertyNotifierConnection> later;
    connect([&] { later.lock()->disconnect(); });
    later = connect(note("later"));
    connect(note("last"));
    notifier->fire();
    EXPECT_THAT(called, ElementsAre("last"));
}

TEST_F(PropertyNotifierTest, SkipsAStandardCallbackThatABoostOneDisconnected) {
    const auto standard = addConnection(note("standard"));
    connect([&] { standard.lock()->disconnect(); });
    notifier->fire();
    EXPECT_THAT(called, IsEmpty());
}

TEST_F(PropertyNotifierTest, LeavesABoostCallbackConnectedDuringABoostCallbackForTheNextFire) {
    bool connected = false;
    connect([&] {
        called.push_back("first");
        if (!connected) {
            connected = true;
            connect(note("new"));
        }
    });
    notifier->fire();
    EXPECT_THAT(called, ElementsAre("first"));
    notifier->fire();
    EXPECT_THAT(called, ElementsAre("first", "first", "new"));
}

TEST_F(PropertyNotifierTest, CallsAStandardCallbackConnectedDuringABoostCallbackInTheSameFire) {
    connect([&] { addConnection(note("new")); });
    notifier->fire();
    EXPECT_THAT(called, ElementsAre("new"));
}

TEST_F(PropertyNotifierTest, LeavesAStandardCallbackConnectedDuringAStandardCallbackForTheNextFire) {
    addConnection([&] { addConnection(note("new")); });
    notifier->fire();
    EXPECT_THAT(called, IsEmpty());
}

TEST_F(PropertyNotifierTest, LeavesABoostCallbackConnectedDuringAStandardCallbackForTheNextFire) {
    addConnection([&] { connect(note("new")); });
    notifier->fire();
    EXPECT_THAT(called, IsEmpty());
}

TEST_F(PropertyNotifierTest, LetsACallbackEndItsOwnConnectionAndGoOn) {
    const auto token = std::make_shared<std::string>("still here");
    std::weak_ptr<PropertyNotifierConnection> own;
    own = connect([this, token, &own] {
        own.lock()->disconnect();
        called.push_back(*token);
    });
    notifier->fire();
    notifier->fire();
    EXPECT_THAT(called, ElementsAre("still here"));
    EXPECT_TRUE(own.expired());
}

TEST_F(PropertyNotifierTest, LetsABoostCallbackDropTheLastReferenceToTheNotifier) {
    addConnection(note("standard"));
    connect([this] { notifier.reset(); });
    PropertyNotifierImpl* const raw = notifier.get();
    raw->fire();
    EXPECT_THAT(called, ElementsAre("standard"));
}

TEST_F(PropertyNotifierTest, LetsAStandardCallbackDropTheLastReferenceToTheNotifier) {
    for (const bool isAlone : {true, false}) {
        called.clear();
        notifier = std::make_shared<PropertyNotifierImpl>();
        addConnection([this] {
            notifier.reset();
            note("first")();
        });
        if (!isAlone) {
            addConnection(note("second"));
        }
        PropertyNotifierImpl* const raw = notifier.get();
        raw->fire();
        EXPECT_EQ(called.size(), isAlone ? 1U : 2U);
        EXPECT_EQ(notifier, nullptr);
    }
}

TEST_F(PropertyNotifierTest, FiresAnewFromInsideACallback) {
    bool nested = false;
    connect([&] {
        called.push_back(nested ? "inner" : "outer");
        if (!nested) {
            nested = true;
            notifier->fire();
        }
    });
    addConnection(note("standard"));
    notifier->fire();
    EXPECT_THAT(called, ElementsAre("outer", "inner", "standard", "standard"));
}

TEST_F(PropertyNotifierTest, LeavesConnectionsAliveAndConnectedWhenItEnds) {
    const auto boost = connect(note("boost"));
    const auto standard = addConnection(note("standard"));
    notifier.reset();
    ASSERT_FALSE(boost.expired());
    ASSERT_FALSE(standard.expired());
    EXPECT_TRUE(boost.lock()->connected());
    boost.lock()->disconnect();
    standard.lock()->disconnect();
    EXPECT_TRUE(boost.expired());
    EXPECT_TRUE(standard.expired());
}

TEST_F(PropertyNotifierTest, ReleasesWhatADisconnectedCallbackHeld) {
    const auto held = std::make_shared<int>(1);
    const auto connection = connect([held] {});
    EXPECT_GT(held.use_count(), 1);
    connection.lock()->disconnect();
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(PropertyNotifierTest, LetsADyingCallbackDisconnectAnother) {
    const auto other = connect(note("other"));
    std::shared_ptr<void> guard(nullptr, [other](void*) { other.lock()->disconnect(); });
    const auto dying = connect([guard] {});
    guard.reset();
    dying.lock()->disconnect();
    EXPECT_TRUE(other.expired());
    EXPECT_TRUE(dying.expired());
}

TEST_F(PropertyNotifierTest, PassesTheBadCallOfAnEmptyCallbackOn) {
    const auto boost = connect(boost::function<void()>());
    EXPECT_THROW(notifier->fire(), boost::bad_function_call);
    boost.lock()->disconnect();
    addConnection(std::function<void()>());
    EXPECT_THROW(notifier->fire(), std::bad_function_call);
}

TEST_F(PropertyNotifierTest, PassesAnExceptionOfACallbackOnAndCallsNoFurtherOne) {
    connect([] { throw std::runtime_error("callback"); });
    connect(note("later"));
    EXPECT_THROW(notifier->fire(), std::runtime_error);
    EXPECT_THAT(called, IsEmpty());
}

TEST(PropertyNotifierConnection, IsNotConnectedBeforeItConnects) {
    using Connection = PropertyNotifierConnectionImpl<std::function<void()>>;
    const auto list = std::make_shared<Connection::List>();
    const auto connection = std::make_shared<Connection>([] {}, list);
    EXPECT_FALSE(connection->connected());
    EXPECT_THAT(*list, IsEmpty());
    connection->connect();
    EXPECT_TRUE(connection->connected());
    EXPECT_THAT(*list, ElementsAre(connection));
    connection->disconnect();
}

}  // namespace
