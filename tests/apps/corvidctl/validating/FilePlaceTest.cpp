#include "validating/FilePlace.h"

using corvidctl::FilePlace;
using corvidctl::placeOf;
using Form = corvidctl::ValidationView::Form;

TEST(FilePlace, IsToldByNameAndForm) {
    EXPECT_EQ(placeOf("Corvid-Config-User.xml", Form::Document), FilePlace::OverrideFile);
    EXPECT_EQ(placeOf("cachedURLProvisioningConfigStore.xml", Form::Document), FilePlace::ProvisioningCache);
    EXPECT_EQ(placeOf("cachedTFTPConfigStore.XML", Form::Document), FilePlace::CachedFile);
    EXPECT_EQ(placeOf("cached.txt", Form::Document), FilePlace::ServerFile);
    EXPECT_EQ(placeOf("corvid-config.xml", Form::Document), FilePlace::ServerFile);
    EXPECT_EQ(placeOf("corvid-config-DEFAULTS.xml", Form::LocalFile), FilePlace::DefaultsFile);
    EXPECT_EQ(placeOf("corvidLocalConfig.xml", Form::LocalFile), FilePlace::UserFile);
    EXPECT_EQ(placeOf("any.xml", Form::LocalFile), FilePlace::UserFile);
    EXPECT_EQ(placeOf("corvid-config-user.xml", Form::Properties), FilePlace::BootstrapFile);
}
