#include "cl/trace/list/trace_list.hpp"

#include "fakes/fake_debugger.hpp"
#include "fakes/trace_capture.hpp"

#include <gtest/gtest.h>

using namespace cl;

TEST(trace_list, sinks_are_added_once_and_removed_once) {
    trace_list list;
    fakes::recording_trace a, b;
    EXPECT_TRUE(trace_add(&list, &a));
    EXPECT_FALSE(trace_add(&list, &a));
    EXPECT_TRUE(trace_add(&list, &b));
    EXPECT_EQ(*list.sinks, (std::vector<trace_base*>{&a, &b}));
    EXPECT_TRUE(trace_remove(&list, &a));
    EXPECT_FALSE(trace_remove(&list, &a));
    EXPECT_EQ(*list.sinks, std::vector<trace_base*>{&b});
    EXPECT_TRUE(trace_add(nullptr, &a));
    EXPECT_TRUE(trace_remove(nullptr, &a));
    delete list.sinks;
}

TEST(trace_list, every_sink_gets_the_text_as_far_as_its_first_zero) {
    trace_list list;
    fakes::recording_trace a, b;
    trace_add(&list, &a);
    trace_add(&list, &b);
    trace_write(&list, "one ");
    trace_write(&list, L"\u00E4\xD83D\xDE00 ");
    list(std::string("two \0three", 10));
    list(std::wstring(L"four\0five", 9));
    trace_write(nullptr, "nobody");
    EXPECT_EQ(a.text, "one \xC3\xA4\xF0\x9F\x98\x80 two four");
    EXPECT_EQ(b.text, a.text);
    trace_flush(&list);
    EXPECT_EQ(a.flushes + b.flushes, 2);
    EXPECT_TRUE(a.is_async());
    delete list.sinks;
}

TEST(trace_list, text_of_an_ended_list_reaches_the_debugger_and_the_early_buffer) {
    trace_list list;
    fakes::recording_trace sink;
    trace_add(&list, &sink);
    trace_end(list);
    trace_early.count = 0;
    fakes::debugger::narrow().clear();
    fakes::debugger::wide().clear();

    trace_write(&list, "a\xE4");
    trace_write(&list, L"\u20AC");
    EXPECT_STREQ(trace_early.text, L"a?\u20AC");
    EXPECT_EQ(trace_early.count, 3u);

    const std::string rest(252, 'x');
    trace_write(&list, (rest + "cut").c_str());
    EXPECT_EQ(trace_early.count, 255u);
    EXPECT_EQ(std::wstring(trace_early.text), L"a?\u20AC" + std::wstring(252, L'x'));
    trace_write(&list, "no room");
    EXPECT_EQ(trace_early.count, 255u);

    EXPECT_EQ(fakes::debugger::narrow(), (std::vector<std::string>{"a\xE4", rest + "cut", "no room"}));
    EXPECT_EQ(fakes::debugger::wide(), std::vector<std::wstring>{L"\u20AC"});
    EXPECT_EQ(sink.text, "");
    EXPECT_TRUE(trace_add(&list, &sink)) << "an ended list takes no part in anything";
    EXPECT_EQ(list.sinks->size(), 1u);
    trace_early.count = 0;
    trace_early.text[0] = 0;
    delete list.sinks;
}
