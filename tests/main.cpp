// The unit tests. Whatever a test has told the layers over the operating system ends with it.
#include "fakes/disk.hpp"
#include "fakes/fake_clock.hpp"
#include "fakes/fake_console.hpp"
#include "fakes/fake_debugger.hpp"
#include "fakes/fake_device.hpp"
#include "fakes/fake_message_box.hpp"

#include <gtest/gtest.h>

namespace {

struct clean_up final : testing::EmptyTestEventListener {
    void OnTestEnd(const testing::TestInfo&) override {
        fakes::disk::end();
        fakes::clock::end();
        fakes::console::instance() = {};
        fakes::device::instance() = {};
        fakes::message_box::shown().clear();
        fakes::debugger::narrow().clear();
        fakes::debugger::wide().clear();
    }
};

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new clean_up);
    return RUN_ALL_TESTS();
}
