// The edition words of a Windows system.
#pragma once

#include "cl/sys/os_info.hpp"

namespace cl {

// Each word with a leading blank: " Home", " Server 2008 R2", " Datacenter Edition". `version` is that of the
// record, which differs from the shown one when that is masked.
std::wstring edition_words(const os_facts& facts, std::uint32_t version);

} // namespace cl
