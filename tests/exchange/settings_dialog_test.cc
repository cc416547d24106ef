// The settings dialog as the interface object runs it: filled from the
// settings and the session number, what confirming and cancelling do to the
// settings, its two events raised to the host, the status message over it,
// and the calls that cannot be served while it is open.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "exchange/exchange_harness.h"
#include "interface/process.h"
#include "support/fake_settings_dialog.h"

namespace kdzv {
namespace {

using C = SettingsControl;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class SettingsDialogTest : public ::testing::Test {
 protected:
  kdZVInterface& Zv() {
    kdZVInterface& zv = harness.Interface();
    zv.SetSettingsDialog(&dialog);
    return zv;
  }
  // The view of the dialog shown last.
  test::FakeSettingsDialogView& View() { return *dialog.last_view; }
  // Queues what the user does in the next dialog (the view is made when the
  // dialog is shown, so the actions are handed over on its creation).
  void WhenShown(std::function<void(SettingsDialogInput&)> action) { pending.push_back(action); }

  void Show(intptr_t owner, bool service_side) {
    // The fake view is made inside ShowSettings: hand it the actions then.
    dialog_actions = pending;
    pending.clear();
    Zv().ShowSettings(owner, service_side);
  }

  class Platform : public test::FakeSettingsDialogPlatform {
   public:
    explicit Platform(SettingsDialogTest& test) : test_(test) {}
    std::unique_ptr<SettingsDialogView> CreateView(SettingsDialogInput& input) override {
      auto view = test::FakeSettingsDialogPlatform::CreateView(input);
      for (auto& action : test_.dialog_actions) last_view->actions.push_back(action);
      return view;
    }

   private:
    SettingsDialogTest& test_;
  };

  test::ExchangeHarness harness;
  Platform dialog{*this};
  std::vector<std::function<void(SettingsDialogInput&)>> pending;
  std::vector<std::function<void(SettingsDialogInput&)>> dialog_actions;
};

TEST_F(SettingsDialogTest, CancelledLeavesTheSameSettingsObject) {
  const std::shared_ptr<clZVSettings> before = Zv().Settings();
  WhenShown([](SettingsDialogInput& input) { input.CancelClicked(); });
  Show(0, false);
  EXPECT_EQ(Zv().Settings(), before);
  EXPECT_EQ(dialog.views, 1);
  EXPECT_FALSE(Zv().SettingsDialogOpen());  // unloaded
}

TEST_F(SettingsDialogTest, ConfirmedMakesANewSettingsObjectOfTheFieldsAndStoresThem) {
  Zv().Settings()->SetSystemName("ALT");
  const std::shared_ptr<clZVSettings> before = Zv().Settings();
  WhenShown([this](SettingsDialogInput& input) {
    View().SetText(C::kTxtFolder0, "C:\\neu\\down");
    input.OkClicked();
  });
  Show(77, false);
  EXPECT_NE(Zv().Settings(), before);
  EXPECT_EQ(Zv().Settings()->DownloadPath(), "C:\\neu\\down");
  EXPECT_EQ(Zv().Settings()->SystemName(), "ALT");
  EXPECT_EQ(harness.registry.Value(RegistryRoot::kCurrentUser,
                                   "Software\\HAL+VEX\\Halvex\\Zentavo", "DownloadPath"),
            "C:\\neu\\down");
  EXPECT_THAT(View().owners, ElementsAre(77));
}

TEST_F(SettingsDialogTest, FilledWithTheSettingsAndTheSessionNumber) {
  Zv().Settings()->SetUploadPath("C:\\up");
  harness.profile.Set(process::ConfigFilePath(), "SESSION", "LastSessionID", "41");
  WhenShown([this](SettingsDialogInput& input) {
    EXPECT_EQ(View().Text(C::kTxtFolder1), "C:\\up");
    EXPECT_EQ(View().Text(C::kTxtSessionID), "41");
    EXPECT_TRUE(View().ReadOnly(C::kTxtSessionID));
    input.CancelClicked();
  });
  Show(0, true);
  EXPECT_TRUE(View().Visible(C::kTxtSystemName));
}

TEST_F(SettingsDialogTest, TheFolderCheckReachesTheHostAndItsAnswerDecides) {
  harness.host.validate_answer = "Kein Zugriff";
  WhenShown([this](SettingsDialogInput& input) {
    View().SetText(C::kTxtSystemName, "PRAXIS");
    View().SetText(C::kTxtFolder0, "D:\\dl");
    View().SetText(C::kTxtFolder1, "D:\\ul");
    View().SetText(C::kTxtFolder2, "D:\\ab");
    input.OkClicked();  // refused: the dialog stays
    harness.host.validate_answer = "OK";
    input.OkClicked();
  });
  Show(0, true);
  EXPECT_THAT(harness.host.events,
              ElementsAre("EinstellungenAmServiceValidieren D:\\ul|D:\\dl|D:\\ab",
                          "EinstellungenAmServiceValidieren D:\\ul|D:\\dl|D:\\ab"));
  ASSERT_EQ(View().boxes.size(), 1u);
  EXPECT_THAT(View().boxes[0].text, HasSubstr("Kein Zugriff"));
  EXPECT_EQ(Zv().Settings()->DownloadPath(), "D:\\dl");
}

TEST_F(SettingsDialogTest, SyncTestenHandsTheFieldsWithoutStoringThemEvenWhenCancelled) {
  harness.host.on_event = [this](const std::string& event) {
    if (event == "ZentavoSyncTesten") Zv().ShowSettingsStatusMsg("Test bestanden", 64);
  };
  WhenShown([this](SettingsDialogInput& input) {
    View().SetText(C::kTxtSystemName, "UNBESTAETIGT");
    input.SyncTestenClicked();
    input.CancelClicked();
  });
  Show(0, true);
  ASSERT_NE(harness.host.tested_settings, nullptr);
  EXPECT_EQ(harness.host.tested_settings->SystemName(), "UNBESTAETIGT");
  EXPECT_NE(harness.registry.Value(RegistryRoot::kCurrentUser,
                                   "Software\\HAL+VEX\\Halvex\\Zentavo", "SystemName"),
            "UNBESTAETIGT");
  EXPECT_NE(Zv().Settings()->SystemName(), "UNBESTAETIGT");
  // The host's status message appeared over the open dialog.
  ASSERT_EQ(View().boxes.size(), 1u);
  EXPECT_EQ(View().boxes[0].text, "Test bestanden");
  EXPECT_EQ(View().boxes[0].style, 64);
}

TEST_F(SettingsDialogTest, CallsThatCannotBeServedWhileTheDialogIsOpenAreRefused) {
  harness.Settings()->SetDoLog(true);
  enmZVRetValues nested_sync = ZV_Success;
  std::string nested_error;
  harness.host.on_event = [&](const std::string&) {
    // From the dialog's own event: a second dialog and an exchange.
    Zv().ShowSettings(0, false);
    nested_sync = Zv().StartSync(0, nested_error);
  };
  WhenShown([](SettingsDialogInput& input) { input.SyncTestenClicked(); input.CancelClicked(); });
  Show(0, false);
  EXPECT_EQ(dialog.views, 1);  // no second dialog
  EXPECT_EQ(nested_sync, ZV_Error_General);
  EXPECT_EQ(nested_error,
            "Die Synchronisation kann nicht gestartet werden, solange der Einstellungsdialog "
            "geöffnet ist.");
  const std::string log = harness.LogText();
  EXPECT_THAT(log, HasSubstr("(ShowSettings) -> Der Einstellungsdialog ist bereits geöffnet."));
}

TEST_F(SettingsDialogTest, ShowSettingsDuringAnExchangeIsRefused) {
  harness.Settings()->SetDoLog(true);
  Zv();
  harness.host.on_event = [this](const std::string&) { Zv().ShowSettings(0, false); };
  harness.Run({{"HX1_1.xml", "HX1_2.xml",
                test::ExchangeHarness::Answer(1, 2, test::kAgentAdd)}});
  EXPECT_EQ(dialog.views, 0);
  EXPECT_THAT(harness.LogText(),
              HasSubstr("(ShowSettings) -> Während einer Synchronisation können die "
                        "Einstellungen nicht geändert werden."));
}

TEST_F(SettingsDialogTest, WithoutADialogOrADialogOpenTheCallsAreLoggedAndRefused) {
  harness.Settings()->SetDoLog(true);
  harness.Interface().ShowSettings(0, false);  // no dialog on this system
  harness.Interface().ShowSettingsStatusMsg("Hallo", 64);
  const std::string log = harness.LogText();
  EXPECT_THAT(log, HasSubstr("(ShowSettings) -> Auf diesem System gibt es keinen Einstellungsdialog."));
  EXPECT_THAT(log, HasSubstr("(ShowSettingsStatusMsg) -> Kein Einstellungsdialog geöffnet: Hallo"));
}

}  // namespace
}  // namespace kdzv
