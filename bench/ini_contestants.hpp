// SimpleIni behind a few functions, so that its header is compiled without our warnings.
#pragma once

#include <memory>
#include <string>

struct simple_ini {
    virtual ~simple_ini() = default;
    virtual const char* get(const char* section, const char* key) = 0;
    virtual void set(const char* section, const char* key, const char* value) = 0;
    virtual bool save(const std::string& path) = 0;
};

// Its plain form: UTF-8 as it stands, names without regard to case. Null if the file can't be read.
std::unique_ptr<simple_ini> load_simple_ini(const std::string& path);
