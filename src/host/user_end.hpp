// How the user ends a program that hosts the service at a console.
#pragma once

namespace vfl {

// While it lives, Ctrl+C, Ctrl+Break, a closed window, log-off and shutdown don't end the process but end the
// wait. The system is answered when the object goes, or when its patience is over: the work that stops the
// program stands between. One object at a time; its owner's thread calls.
class user_end {
public:
    user_end();
    ~user_end();
    user_end(const user_end&) = delete;
    user_end& operator=(const user_end&) = delete;

    // Returns at one of the events above, also an earlier one, or at a key: one at the console, without an
    // echo. Where standard input is no console, a byte counts as a key, and so does the end of a pipe. With
    // no input at all (no handle, NUL, an empty file) there is no key.
    void wait();
};

} // namespace vfl
