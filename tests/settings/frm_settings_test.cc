#include "settings/frm_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "interface/user_interface.h"
#include "support/fake_registry.h"
#include "support/fake_settings_dialog.h"
#include "support/fakes.h"

namespace kdzv {
namespace {

using test::FakeRegistry;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using C = SettingsControl;

constexpr RegistryRoot kUser = RegistryRoot::kCurrentUser;
constexpr const char* kKey = "Software\\HAL+VEX\\Halvex\\Zentavo";

// The owner: records the events and answers the folder check.
class RecordingOwner : public SettingsDialogEvents {
 public:
  void EinstellungenAmServiceValidieren(std::string& s01UploadDir, std::string& s02DownloadDir,
                                        std::string& s03AblageDir,
                                        std::string& sErrMsg) override {
    folders.push_back({s01UploadDir, s02DownloadDir, s03AblageDir});
    sErrMsg = answer;
  }
  void ZentavoSyncTesten() override { ++tests; }

  std::vector<std::vector<std::string>> folders;
  std::string answer = "OK";
  int tests = 0;
};

class FrmSettingsTest : public ::testing::Test {
 protected:
  FrmSettingsTest() : form(platform, owner), view(*platform.last_view) {}

  void Click(std::function<void(SettingsDialogInput&)> action) { view.actions.push_back(action); }

  test::ScopedProcess process;
  FakeRegistry registry;
  test::FakeSettingsDialogPlatform platform;
  RecordingOwner owner;
  frmSettings form;
  test::FakeSettingsDialogView& view;
};

const std::vector<C> kServiceSide = {C::kLblSystemName,        C::kTxtSystemName,
                                     C::kLblSessionPrefixTitle, C::kTxtSessionPrefix,
                                     C::kLblPatIdent,          C::kCmbPatIdent,
                                     C::kLblTimeoutTitle,      C::kTxtTimeoutSeconds,
                                     C::kUpdTimeoutSeconds,    C::kCmdSyncTesten};
const std::vector<C> kLocal = {C::kChkSlowSync, C::kCmdBrowse0, C::kCmdBrowse1, C::kCmdBrowse2};

TEST_F(FrmSettingsTest, TheTwoModesShowTheirControls) {
  EXPECT_FALSE(form.ServiceSeitigerSync());
  for (C control : kServiceSide) EXPECT_FALSE(view.Visible(control));
  for (C control : kLocal) EXPECT_TRUE(view.Visible(control));
  form.SetServiceSeitigerSync(true);
  for (C control : kServiceSide) EXPECT_TRUE(view.Visible(control));
  for (C control : kLocal) EXPECT_FALSE(view.Visible(control));
  // The rest is shown in both.
  for (C control : {C::kTxtFolder0, C::kTxtFolder1, C::kTxtFolder2, C::kChkLog, C::kTxtSessionID,
                    C::kCmdOk, C::kCmdCancel}) {
    EXPECT_TRUE(view.Visible(control));
  }
  form.SetServiceSeitigerSync(false);
  for (C control : kServiceSide) EXPECT_FALSE(view.Visible(control));
}

TEST_F(FrmSettingsTest, PatientIdentificationOffersItsTwoEntriesInOrder) {
  EXPECT_THAT(view.lists[C::kCmbPatIdent],
              ElementsAre("Name, Vorname, Geb.-dat.", "Name, Vorname, Geb.-dat., Ort"));
  EXPECT_EQ(frmSettings::kCaption, "Schnittstellen-Einstellungen für Zentavo");
}

TEST_F(FrmSettingsTest, BrowsePromptsByIndexAndACancelledSelectionKeepsTheText) {
  view.SetText(C::kTxtFolder2, "C:\\Ablage");
  platform.picker.answers = {"C:\\Down", "C:\\Up", ""};
  form.BrowseClicked(0);
  form.BrowseClicked(1);
  form.BrowseClicked(2);
  EXPECT_THAT(platform.picker.prompts,
              ElementsAre("Bitte wählen Sie das Downloadverzeichnis aus.",
                          "Bitte wählen Sie das Uploadverzeichnis aus.",
                          "Bitte wählen Sie das Ablageverzeichnis aus."));
  EXPECT_EQ(view.Text(C::kTxtFolder0), "C:\\Down");
  EXPECT_EQ(view.Text(C::kTxtFolder1), "C:\\Up");
  EXPECT_EQ(view.Text(C::kTxtFolder2), "C:\\Ablage");
  // The selection starts at the folder the box names.
  EXPECT_EQ(platform.picker.starts[2], "C:\\Ablage");
  // No other index has a prompt.
  form.BrowseClicked(3);
  form.BrowseClicked(-1);
  EXPECT_EQ(platform.picker.prompts.size(), 3u);
}

TEST_F(FrmSettingsTest, TheTimeoutIsTakenWhenItLiesInTheUpDownsRange) {
  EXPECT_EQ(view.up_down_min, frmSettings::kTimeoutMinimum);
  EXPECT_EQ(view.up_down_max, frmSettings::kTimeoutMaximum);
  view.up_down_value = 60;
  view.SetText(C::kTxtTimeoutSeconds, "120");
  form.TimeoutValidate();
  EXPECT_EQ(view.UpDownValue(), 120);
  view.SetText(C::kTxtTimeoutSeconds, "3601");  // out of range
  form.TimeoutValidate();
  EXPECT_EQ(view.UpDownValue(), 120);
  view.SetText(C::kTxtTimeoutSeconds, "0");
  form.TimeoutValidate();
  EXPECT_EQ(view.UpDownValue(), 120);
  EXPECT_TRUE(process.Reports().empty());
}

TEST_F(FrmSettingsTest, ATimeoutThatIsNoNumberIsAConversionErrorAndChangesNothing) {
  view.up_down_value = 60;
  view.SetText(C::kTxtTimeoutSeconds, "eine Minute");
  form.TimeoutValidate();
  EXPECT_EQ(view.UpDownValue(), 60);
  EXPECT_THAT(process.Reports(),
              ElementsAre(HasSubstr("13/Type mismatch / Modul=frmSettings / "
                                    "Proc=txtTimeoutSeconds_Validate / Details=Text=eine Minute")));
}

TEST_F(FrmSettingsTest, OkInTheNormalModeAcceptsWithoutAnyCheck) {
  view.SetText(C::kTxtSystemName, "");
  Click([](SettingsDialogInput& input) { input.OkClicked(); });
  form.Show(0);
  EXPECT_FALSE(form.bCancel());
  EXPECT_FALSE(view.shown);
  EXPECT_TRUE(view.boxes.empty());
  EXPECT_TRUE(owner.folders.empty());
}

TEST_F(FrmSettingsTest, OkOnTheServiceSideWantsASystemName) {
  form.SetServiceSeitigerSync(true);
  view.SetText(C::kTxtSystemName, "");
  Click([](SettingsDialogInput& input) { input.OkClicked(); });
  form.Show(0);
  EXPECT_TRUE(view.shown);  // the dialog stays open
  ASSERT_EQ(view.boxes.size(), 1u);
  EXPECT_EQ(view.boxes[0].text,
            "Bitte geben Sie den Systemnamen ein.\r\nDen Systemnamen finden Sie in den "
            "Einstellungen des ZVSync-Zentavo Synchronisationsagenten.");
  EXPECT_EQ(view.boxes[0].style, msgbox::kOkOnly | msgbox::kExclamation);
  EXPECT_TRUE(owner.folders.empty());
}

TEST_F(FrmSettingsTest, OkOnTheServiceSideAsksTheHostForEachFolderByItsMeaning) {
  form.SetServiceSeitigerSync(true);
  view.SetText(C::kTxtSystemName, "PRAXIS-1");
  view.SetText(C::kTxtFolder0, "D:\\down");
  view.SetText(C::kTxtFolder1, "D:\\up");
  view.SetText(C::kTxtFolder2, "D:\\ablage");
  owner.answer = "";  // anything but exactly "OK" keeps the dialog open
  Click([](SettingsDialogInput& input) { input.OkClicked(); });
  form.Show(0);
  ASSERT_EQ(owner.folders.size(), 1u);
  EXPECT_THAT(owner.folders[0], ElementsAre("D:\\up", "D:\\down", "D:\\ablage"));
  EXPECT_TRUE(view.shown);
  ASSERT_EQ(view.boxes.size(), 1u);
  EXPECT_EQ(view.boxes[0].text,
            "Mindestens ein Verzeichnis konnte nicht erstellt werden.\r\n\r\n\r\n\r\nBitte "
            "beachten Sie, dass die Verzeichnisse auf dem Rechner des Termin-Services angelegt "
            "werden.");
  EXPECT_EQ(view.boxes[0].style, msgbox::kOkOnly | msgbox::kExclamation);

  owner.answer = "Zugriff verweigert: D:\\up";
  form.OkClicked();
  EXPECT_THAT(view.boxes[1].text, HasSubstr("werden.\r\n\r\nZugriff verweigert: D:\\up\r\n\r\nBitte"));
  EXPECT_TRUE(view.shown);

  owner.answer = "OK";
  form.OkClicked();
  EXPECT_FALSE(view.shown);
  EXPECT_FALSE(form.bCancel());
  EXPECT_EQ(view.boxes.size(), 2u);
}

TEST_F(FrmSettingsTest, CancelAndTheCloseBoxLeaveWithoutConfirming) {
  Click([](SettingsDialogInput& input) { input.CancelClicked(); });
  form.Show(0);
  EXPECT_TRUE(form.bCancel());
  EXPECT_FALSE(view.shown);
  Click([](SettingsDialogInput& input) { input.OkClicked(); });
  form.Show(0);
  EXPECT_FALSE(form.bCancel());
  Click([](SettingsDialogInput& input) { input.CloseRequested(); });
  form.Show(0);
  EXPECT_TRUE(form.bCancel());
  EXPECT_FALSE(view.shown);
  EXPECT_EQ(view.hides, 3);
}

TEST_F(FrmSettingsTest, FilledFromTheSettingsAndReadBackIntoThem) {
  clZVSettings stored(registry);
  stored.SetDownloadPath("C:\\Z\\down");
  stored.SetUploadPath("C:\\Z\\up");
  stored.SetAblagePath("C:\\Z\\ablage");
  stored.SetFilePraefix("HX");
  stored.SetSystemName("PRAXIS");
  stored.SetSlowSync(true);
  stored.SetDoLog(true);
  stored.SetTimeoutSeconds(90);
  stored.SetPatIdentKriterium(1);
  form.Fill(stored, 42);
  EXPECT_EQ(view.Text(C::kTxtFolder0), "C:\\Z\\down");
  EXPECT_EQ(view.Text(C::kTxtFolder1), "C:\\Z\\up");
  EXPECT_EQ(view.Text(C::kTxtFolder2), "C:\\Z\\ablage");
  EXPECT_EQ(view.Text(C::kTxtSessionPrefix), "HX");
  EXPECT_EQ(view.Text(C::kTxtSystemName), "PRAXIS");
  EXPECT_TRUE(view.Checked(C::kChkSlowSync));
  EXPECT_TRUE(view.Checked(C::kChkLog));
  EXPECT_EQ(view.Text(C::kTxtTimeoutSeconds), "90");
  EXPECT_EQ(view.UpDownValue(), 90);
  EXPECT_EQ(view.ListIndex(C::kCmbPatIdent), 1);
  EXPECT_EQ(view.Text(C::kTxtSessionID), "42");
  EXPECT_TRUE(view.ReadOnly(C::kTxtSessionID));

  view.SetText(C::kTxtFolder1, "C:\\Z\\hoch");
  view.SetChecked(C::kChkSlowSync, false);
  view.SetListIndex(C::kCmbPatIdent, 0);
  view.SetText(C::kTxtTimeoutSeconds, "30");
  form.TimeoutValidate();
  clZVSettings target(registry);
  form.ApplyTo(target);
  EXPECT_EQ(registry.Value(kUser, kKey, "UploadPath"), "C:\\Z\\hoch");
  EXPECT_EQ(registry.Value(kUser, kKey, "SlowSync"), "False");
  EXPECT_EQ(registry.Value(kUser, kKey, "PatIdentKriterium"), "0");
  EXPECT_EQ(registry.Value(kUser, kKey, "TimeoutSeconds"), "30");
  EXPECT_EQ(registry.Value(kUser, kKey, "DownloadPath"), "C:\\Z\\down");
}

TEST_F(FrmSettingsTest, StoredValuesTheDialogCannotShowAreKeptUntilTheUserChangesThem) {
  registry.PutValue(kUser, kKey, "TimeoutSeconds", "9999");
  registry.PutValue(kUser, kKey, "PatIdentKriterium", "5");
  clZVSettings stored(registry);
  form.Fill(stored, 1);
  EXPECT_EQ(view.Text(C::kTxtTimeoutSeconds), "9999");  // shown as it is
  EXPECT_EQ(view.UpDownValue(), frmSettings::kTimeoutMaximum);
  EXPECT_EQ(view.ListIndex(C::kCmbPatIdent), -1);  // no entry fits
  Click([](SettingsDialogInput& input) { input.OkClicked(); });
  form.Show(0);
  clZVSettings target(registry);
  form.ApplyTo(target);
  EXPECT_EQ(registry.Value(kUser, kKey, "TimeoutSeconds"), "9999");
  EXPECT_EQ(registry.Value(kUser, kKey, "PatIdentKriterium"), "5");

  // A text the user typed that is no number leaves the last valid value.
  view.SetText(C::kTxtTimeoutSeconds, "viel");
  Click([](SettingsDialogInput& input) { input.OkClicked(); });
  form.Show(0);
  EXPECT_FALSE(form.bCancel());
  form.ApplyTo(target);
  EXPECT_EQ(registry.Value(kUser, kKey, "TimeoutSeconds"),
            std::to_string(frmSettings::kTimeoutMaximum));
}

TEST_F(FrmSettingsTest, TheFieldsAsSettingsAreNeverWrittenToTheStore) {
  registry.PutValue(kUser, kKey, "SystemName", "ALT");
  clZVSettings stored(registry);
  form.Fill(stored, 3);
  view.SetText(C::kTxtSystemName, "NEU");
  view.SetText(C::kTxtFolder0, "E:\\dl");
  const size_t writes = registry.CountOf(FakeRegistry::Op::kSetValue);
  const std::shared_ptr<clZVSettings> fields = form.FieldsAsSettings(registry);
  EXPECT_EQ(fields->SystemName(), "NEU");
  EXPECT_EQ(fields->DownloadPath(), "E:\\dl");
  EXPECT_EQ(registry.CountOf(FakeRegistry::Op::kSetValue), writes);
  EXPECT_EQ(registry.Value(kUser, kKey, "SystemName"), "ALT");
}

TEST_F(FrmSettingsTest, SyncTestenIsRaisedToTheOwnerAndStatusMessagesAppearOverTheDialog) {
  form.SyncTestenClicked();
  EXPECT_EQ(owner.tests, 1);
  form.ShowStatusMsg("Test erfolgreich", msgbox::kInformation);
  ASSERT_EQ(view.boxes.size(), 1u);
  EXPECT_EQ(view.boxes[0].text, "Test erfolgreich");
  EXPECT_EQ(view.boxes[0].style, msgbox::kInformation);
}

}  // namespace
}  // namespace kdzv
