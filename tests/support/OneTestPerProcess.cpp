// The daemon keeps its state in globals for the life of the process, as it does on the switch, so every
// test needs a process of its own to start from that state: ctest runs each test that way. Running a
// second test in the same process would hand it the first one's daemon, so it is refused.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char **argv) {
    struct OneTestPerProcess : ::testing::EmptyTestEventListener {
        int started = 0;
        void OnTestStart(const ::testing::TestInfo &test) override {
            if (++started > 1) {
                std::fprintf(
                    stderr,
                    "\n%s.%s: each test needs a fresh daemon process. Run the tests through ctest, or "
                    "name a single test with --gtest_filter.\n",
                    test.test_suite_name(), test.name());
                std::_Exit(2);
            }
        }
    };
    ::testing::InitGoogleMock(&argc, argv);
    ::testing::UnitTest::GetInstance()->listeners().Append(new OneTestPerProcess);
    return RUN_ALL_TESTS();
}
