#include "support/fake_window.h"

#include <stdexcept>

namespace kdzv::test {

bool FakeTimer::Tick() {
  if (!enabled_ || interval_ < 1) return false;
  on_tick_();
  return true;
}

FakeTimer& AsFake(WindowTimer& timer) {
  auto* fake = dynamic_cast<FakeTimer*>(&timer);
  if (fake == nullptr) throw std::logic_error("not a FakeTimer");
  return *fake;
}

bool FakeView::AskYesNo(std::string_view question) {
  questions.emplace_back(question);
  if (on_ask) on_ask();
  return answer;
}

std::unique_ptr<WindowTimer> FakeWindowPlatform::CreateTimer(std::function<void()> on_tick) {
  auto timer = std::make_unique<FakeTimer>(std::move(on_tick));
  timers.push_back(timer.get());
  return timer;
}

std::unique_ptr<SyncWindowView> FakeWindowPlatform::CreateView(SyncWindowInput& input) {
  auto view = std::make_unique<FakeView>(input);
  views.push_back(view.get());
  return view;
}

void RecordingWindowEvents::OnNewFile(const std::string& strFilename, int32_t& retVal) {
  events.push_back("OnNewFile:" + strFilename);
  entry_values.push_back(retVal);
  if (new_file) retVal = new_file(strFilename);
}

std::vector<std::string> RecordingWindowEvents::Raised() const {
  std::vector<std::string> raised;
  for (const auto& event : events) {
    if (event.rfind("OnLog:", 0) != 0) raised.push_back(event);
  }
  return raised;
}

}  // namespace kdzv::test
