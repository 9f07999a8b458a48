// What a command writes, as texts.
#pragma once

#include "ctl/output.hpp"

class text_output final : public vfl::ctl::output {
public:
    std::wstring out, err;
    std::string bytes;
    void put(vfl::ctl::stream to, std::wstring_view text, vfl::ctl::colour) override {
        (to == vfl::ctl::stream::out ? out : err) += text;
    }
    void put_bytes(std::string_view b) override { bytes += b; }
    bool is_console(vfl::ctl::stream, std::size_t&) override { return false; }
};
