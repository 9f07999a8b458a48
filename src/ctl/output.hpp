// The two streams that a command writes to, and what foreign text goes through before it gets there.
#pragma once

#include <string>
#include <string_view>

namespace vfl::ctl {

enum class stream { out, err };

// Only on a console, and never the only carrier of a meaning.
enum class colour { normal, good, warning, bad, dim };

// Thrown when the reader of a pipe has gone: the command ends with 0, in silence.
struct reader_gone {};

// Thrown when standard output can't be written, on a full disk for instance, with the number of Windows.
struct output_lost {
    unsigned long error;
};

class output {
public:
    virtual void put(stream to, std::wstring_view text, colour c = colour::normal) = 0;
    // Bytes for standard output as they are.
    virtual void put_bytes(std::string_view bytes) = 0;
    // Whether the stream is a console; its width in characters then.
    virtual bool is_console(stream of, std::size_t& width) = 0;

protected:
    ~output() = default;
};

// A console gets UTF-16, anything else bytes: in UTF-8 after --utf8, else in the console's output code page,
// and without a console in the OEM one. Line feeds become CR LF there. One thread at a time.
class standard_output final : public output {
public:
    void put(stream to, std::wstring_view text, colour c) override;
    void put_bytes(std::string_view bytes) override;
    bool is_console(stream of, std::size_t& width) override;
};

// Redirected text in UTF-8 (the option --utf8); set once by main.
extern bool redirected_utf8;

// Text from outside, fit for a console: a control character, one that changes the writing direction and half
// a surrogate pair each become U+FFFD. Tabs too, which would break columns.
std::wstring shown(std::wstring_view foreign);

// Every half of a surrogate pair without its other half becomes U+FFFD.
std::wstring well_formed(std::wstring_view text);

} // namespace vfl::ctl
