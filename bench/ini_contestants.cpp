#include "ini_contestants.hpp"

// The wide form would need another library to convert with.
#define SI_NO_CONVERSION
#include <SimpleIni.h>

namespace {

struct contestant final : simple_ini {
    CSimpleIniA ini{true};

    const char* get(const char* section, const char* key) override { return ini.GetValue(section, key); }
    void set(const char* section, const char* key, const char* value) override {
        ini.SetValue(section, key, value);
    }
    bool save(const std::string& path) override { return ini.SaveFile(path.c_str()) == SI_OK; }
};

} // namespace

std::unique_ptr<simple_ini> load_simple_ini(const std::string& path) {
    auto loaded = std::make_unique<contestant>();
    if (loaded->ini.LoadFile(path.c_str()) != SI_OK)
        return nullptr;
    return loaded;
}
