#pragma once

#include "fakes/ScopedWorld.h"
#include "testing/StoreContract.h"

/// What the module's own stores do besides what every store owes the chain: they apply the rule for FIPS mode
/// themselves. Used as StoreContract is, with the same kinds.
class OwnStoreContract : public StoreContract {
protected:
    fakes::ScopedWorld world_;
};

TEST_P(OwnStoreContract, ReadsPeerToPeerCallingAsOffUnderFips) {
    make({{L"Telephony_P2P_Enabled", L"true"}});
    expectValue(L"telephony_p2p_enabled", L"true");
    world_.setFips(true);
    expectValue(L"telephony_p2p_enabled", L"false");
}

TEST_P(OwnStoreContract, StaysWithAMissForPeerToPeerCallingUnderFips) {
    make({});
    world_.setFips(true);
    std::wstring value;
    EXPECT_FALSE(store_->getValue(L"telephony_p2p_enabled", value));
}
