#include "libraries.h"

#include <INIReader.h>
#include <toml++/toml.h>
#include <yaml-cpp/yaml.h>
#include <boost/property_tree/info_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <libconfig.h++>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "TeskPf.h"

namespace teskpf_bench {
namespace {

std::shared_ptr<void> countLines(const std::string &path) {
    std::FILE *file = std::fopen(path.c_str(), "rb");
    if (!file) throw std::runtime_error("cannot open " + path);
    static char buffer[1 << 16];
    size_t lines = 0;
    for (size_t got; (got = std::fread(buffer, 1, sizeof buffer, file)) > 0;)
        lines += static_cast<size_t>(std::count(buffer, buffer + got, '\n'));
    std::fclose(file);
    return std::make_shared<size_t>(lines);
}

// Key: the first word of the line; value: the rest after the blanks that follow.
std::shared_ptr<void> splitLines(const std::string &path) {
    std::ifstream file(path);
    if (!file) throw std::runtime_error("cannot open " + path);
    auto pairs = std::make_shared<std::vector<std::pair<std::string, std::string>>>();
    for (std::string line; std::getline(file, line);) {
        size_t start = std::min(line.find_first_not_of(" \t"), line.size());
        size_t blank = std::min(line.find_first_of(" \t", start), line.size());
        size_t value = std::min(line.find_first_not_of(" \t", blank), line.size());
        pairs->emplace_back(line.substr(start, blank - start), line.substr(value));
    }
    return pairs;
}

std::shared_ptr<void> loadTeskPf(const std::string &path) {
    try {
        return std::make_shared<TeskPf>(path, 0);
    } catch (const std::string &error) {
        throw std::runtime_error(path + ": " + error);
    }
}

std::shared_ptr<void> loadIni(const std::string &path) {
    auto reader = std::make_shared<INIReader>(path);
    if (reader->ParseError() != 0)
        throw std::runtime_error(path + ": INI error at line " + std::to_string(reader->ParseError()));
    return reader;
}

std::shared_ptr<void> loadLibconfig(const std::string &path) {
    auto config = std::make_shared<libconfig::Config>();
    try {
        config->readFile(path.c_str());
    } catch (const libconfig::ParseException &error) {
        throw std::runtime_error(path + ":" + std::to_string(error.getLine()) + ": " + error.getError());
    } catch (const libconfig::FileIOException &) {
        throw std::runtime_error("cannot read " + path);
    }
    return config;
}

std::shared_ptr<void> loadYaml(const std::string &path) { return std::make_shared<YAML::Node>(YAML::LoadFile(path)); }

std::shared_ptr<void> loadToml(const std::string &path) {
    return std::make_shared<toml::table>(toml::parse_file(path));
}

std::shared_ptr<void> loadInfo(const std::string &path) {
    auto tree = std::make_shared<boost::property_tree::ptree>();
    boost::property_tree::read_info(path, *tree);
    return tree;
}

}  // namespace

const std::vector<Library> &libraries() {
    static const std::vector<Library> all = {
        {"floor (read, count lines)", "pf", countLines},
        {"naive split (key/value strings)", "pf", splitLines},
        {"TeskPf", "pf", loadTeskPf},
        {"inih INIReader", "ini", loadIni},
        {"libconfig++", "cfg", loadLibconfig},
        {"yaml-cpp", "yaml", loadYaml},
        {"toml++", "toml", loadToml},
        {"Boost.PropertyTree INFO", "info", loadInfo},
    };
    return all;
}

}  // namespace teskpf_bench
