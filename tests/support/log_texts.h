// The text of a component log as the goldens of the exchanges hold it,
// the same on Linux and on Windows. Plain C++ only: the test host of the
// automation library, which uses no code of the component, shares it.
#ifndef KDZV_TESTS_SUPPORT_LOG_TEXTS_H_
#define KDZV_TESTS_SUPPORT_LOG_TEXTS_H_

#include <string>

namespace kdzv::test {

// The log's text column (everything after the second TAB of each line), with
// the test folder `dir` written as "{dir}" (and the rest of such a path with
// "/"), and a block of lines that repeats itself at once (a file offered
// again while the agent still holds it) kept once, so that the text does not
// depend on how many ticks a held file took.
std::string LogTexts(const std::string& log, const std::string& dir);

// `text` with every date of the form 1.2.2024, 01.02.2024 or 2/1/2024
// written as "{date}": on Windows the texts take the system's short date
// form, which the goldens cannot know.
std::string WithoutDates(const std::string& text);

}  // namespace kdzv::test

#endif  // KDZV_TESTS_SUPPORT_LOG_TEXTS_H_
