// A settings dialog for tests: every control's text, check, list, index,
// visibility and read-only state held in maps, the modal show replaced by
// a script of user actions run while "shown", every message box recorded
// (and answered OK), and a folder picker with answers to order.
#ifndef KDZV_TESTS_SUPPORT_FAKE_SETTINGS_DIALOG_H_
#define KDZV_TESTS_SUPPORT_FAKE_SETTINGS_DIALOG_H_

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "settings/dialog_ports.h"

namespace kdzv::test {

class FakeSettingsDialogView : public SettingsDialogView {
 public:
  struct Box {
    std::string text;
    int32_t style;
  };

  explicit FakeSettingsDialogView(SettingsDialogInput& input) : input_(input) {}

  void SetText(SettingsControl control, std::string_view text) override {
    texts[control] = std::string(text);
  }
  std::string Text(SettingsControl control) const override {
    const auto found = texts.find(control);
    return found == texts.end() ? std::string() : found->second;
  }
  void SetChecked(SettingsControl control, bool checked) override { checks[control] = checked; }
  bool Checked(SettingsControl control) const override {
    const auto found = checks.find(control);
    return found != checks.end() && found->second;
  }
  void AddListItem(SettingsControl control, std::string_view text) override {
    lists[control].emplace_back(text);
  }
  void SetListIndex(SettingsControl control, int index) override { indexes[control] = index; }
  int ListIndex(SettingsControl control) const override {
    const auto found = indexes.find(control);
    return found == indexes.end() ? -1 : found->second;
  }
  void SetVisible(SettingsControl control, bool visible) override { visible_[control] = visible; }
  bool Visible(SettingsControl control) const override {
    const auto found = visible_.find(control);
    return found == visible_.end() || found->second;
  }
  void SetReadOnly(SettingsControl control, bool read_only) override {
    read_only_[control] = read_only;
  }
  bool ReadOnly(SettingsControl control) const {
    const auto found = read_only_.find(control);
    return found != read_only_.end() && found->second;
  }
  void SetUpDownRange(int16_t minimum, int16_t maximum) override {
    up_down_min = minimum;
    up_down_max = maximum;
  }
  // As a real up-down control: a value outside its range is clamped.
  void SetUpDownValue(int16_t value) override {
    up_down_value = value < up_down_min ? up_down_min : value > up_down_max ? up_down_max : value;
  }
  int16_t UpDownValue() const override { return up_down_value; }

  // Runs the user's actions, each of which sees the dialog shown; stops
  // when the dialog is hidden.
  void ShowModal(intptr_t owner) override {
    shown = true;
    owners.push_back(owner);
    ++shows;
    while (shown && !actions.empty()) {
      auto action = std::move(actions.front());
      actions.pop_front();
      action(input_);
    }
  }
  void Hide() override {
    shown = false;
    ++hides;
  }
  int32_t ShowMessage(std::string_view text, int32_t style) override {
    boxes.push_back(Box{std::string(text), style});
    return 1;
  }

  std::map<SettingsControl, std::string> texts;
  std::map<SettingsControl, bool> checks;
  std::map<SettingsControl, std::vector<std::string>> lists;
  std::map<SettingsControl, int> indexes;
  int16_t up_down_min = 0;
  int16_t up_down_max = 100;
  int16_t up_down_value = 0;
  bool shown = false;
  int shows = 0;
  int hides = 0;
  std::vector<intptr_t> owners;
  std::vector<Box> boxes;
  // What the user does while the dialog is shown, in order.
  std::deque<std::function<void(SettingsDialogInput&)>> actions;

 private:
  SettingsDialogInput& input_;
  std::map<SettingsControl, bool> visible_;
  std::map<SettingsControl, bool> read_only_;
};

class FakeFolderPicker : public FolderPicker {
 public:
  std::string PickFolder(std::string_view prompt, const std::string& start) override {
    prompts.emplace_back(prompt);
    starts.push_back(start);
    if (answers.empty()) return {};
    std::string answer = answers.front();
    answers.pop_front();
    return answer;
  }
  std::vector<std::string> prompts;
  std::vector<std::string> starts;
  std::deque<std::string> answers;  // "" is a cancelled selection
};

// Hands out views that forward to fakes the platform keeps, so that a test
// can still look at a dialog's controls after its owner has unloaded it.
class ForwardingSettingsDialogView : public SettingsDialogView {
 public:
  explicit ForwardingSettingsDialogView(FakeSettingsDialogView& to) : to_(to) {}
  void SetText(SettingsControl c, std::string_view t) override { to_.SetText(c, t); }
  std::string Text(SettingsControl c) const override { return to_.Text(c); }
  void SetChecked(SettingsControl c, bool v) override { to_.SetChecked(c, v); }
  bool Checked(SettingsControl c) const override { return to_.Checked(c); }
  void AddListItem(SettingsControl c, std::string_view t) override { to_.AddListItem(c, t); }
  void SetListIndex(SettingsControl c, int i) override { to_.SetListIndex(c, i); }
  int ListIndex(SettingsControl c) const override { return to_.ListIndex(c); }
  void SetVisible(SettingsControl c, bool v) override { to_.SetVisible(c, v); }
  bool Visible(SettingsControl c) const override { return to_.Visible(c); }
  void SetReadOnly(SettingsControl c, bool v) override { to_.SetReadOnly(c, v); }
  void SetUpDownRange(int16_t a, int16_t b) override { to_.SetUpDownRange(a, b); }
  void SetUpDownValue(int16_t v) override { to_.SetUpDownValue(v); }
  int16_t UpDownValue() const override { return to_.UpDownValue(); }
  void ShowModal(intptr_t owner) override { to_.ShowModal(owner); }
  void Hide() override { to_.Hide(); }
  int32_t ShowMessage(std::string_view t, int32_t s) override { return to_.ShowMessage(t, s); }

 private:
  FakeSettingsDialogView& to_;
};

class FakeSettingsDialogPlatform : public SettingsDialogPlatform {
 public:
  std::unique_ptr<SettingsDialogView> CreateView(SettingsDialogInput& input) override {
    kept_.push_back(std::make_unique<FakeSettingsDialogView>(input));
    last_view = kept_.back().get();
    ++views;
    return std::make_unique<ForwardingSettingsDialogView>(*last_view);
  }
  FolderPicker& Folders() override { return picker; }

  FakeSettingsDialogView* last_view = nullptr;  // stays valid as long as the platform
  int views = 0;
  FakeFolderPicker picker;

 private:
  std::vector<std::unique_ptr<FakeSettingsDialogView>> kept_;
};

}  // namespace kdzv::test

#endif  // KDZV_TESTS_SUPPORT_FAKE_SETTINGS_DIALOG_H_
