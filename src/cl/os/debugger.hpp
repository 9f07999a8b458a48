// Text for an attached debugger. Any thread may call; nothing fails.
#pragma once

namespace cl::os {

void debug_text(const char* text);
void debug_text(const wchar_t* text);

} // namespace cl::os
