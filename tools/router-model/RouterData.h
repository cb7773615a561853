// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The data a simulated router serves: its call list, its phonebook export and its contact photos.
#include <map>
#include <string>

namespace routersim {

// Where the router keeps contact photos; the phonebook's imageURLs name files under it.
constexpr const char* kPhotoDirectory = "/var/media/ftp/FRITZ/fonpix/";

struct RouterData {
    std::string callListCsv;   // bytes as the router sends them (ISO-8859-1, "sep=;" line first)
    std::string phonebookXml;  // the export file as the router sends it
    // router-side path ("/var/media/ftp/FRITZ/fonpix/1.jpg") -> image bytes
    std::map<std::string, std::string> photos;

    // Reads dir/calllist.csv, dir/phonebook.xml and every file in dir/photos/ (optional), each
    // photo under kPhotoDirectory + its file name. Throws std::runtime_error naming the file that
    // cannot be read.
    static RouterData loadFromDirectory(const std::string& dir);
};

}  // namespace routersim
