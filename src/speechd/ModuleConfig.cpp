#include "speechd/ModuleConfig.h"

#include <fstream>
#include <iostream>
#include <sstream>

namespace velmora::speechd {

ModuleConfig ModuleConfig::read(const std::filesystem::path& file) {
    ModuleConfig config;
    std::ifstream in(file);
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream words(line);
        std::string name;
        std::string value;
        if (!(words >> name >> value) || name.starts_with('#')) continue;
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
            value = value.substr(1, value.size() - 2);
        if (name == "VelmoraAudioOutput" && (value == "default" || value == "null"))
            config.audioOutput = value;
        else
            std::cerr << "sd_velmora: " << file.string() << ": ignored \"" << line << "\"" << std::endl;
    }
    return config;
}

}  // namespace velmora::speechd
