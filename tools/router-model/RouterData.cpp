// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// Loading the data the simulated router serves from a directory laid out like the bundled
// sample: calllist.csv, phonebook.xml and photos/<name>.
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "RouterData.h"

namespace routersim {
namespace {

namespace fs = std::filesystem;

// The file's bytes unchanged: the call list is ISO-8859-1 and photos are binary.
std::string readWholeFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("router data: cannot read " + path.string());
    }
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

// Each file in `directory` under the router-side path the phonebook's imageURLs name. A router
// without contact photos is normal, so a missing directory gives no photos.
std::map<std::string, std::string> readPhotos(const fs::path& directory) {
    std::map<std::string, std::string> photos;
    if (!fs::is_directory(directory)) {
        return photos;
    }
    for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
        if (entry.is_regular_file()) {
            photos[kPhotoDirectory + entry.path().filename().string()] = readWholeFile(entry.path());
        }
    }
    return photos;
}

}  // namespace

RouterData RouterData::loadFromDirectory(const std::string& dir) {
    const fs::path root(dir);
    RouterData data;
    data.callListCsv = readWholeFile(root / "calllist.csv");
    data.phonebookXml = readWholeFile(root / "phonebook.xml");
    data.photos = readPhotos(root / "photos");
    return data;
}

}  // namespace routersim
