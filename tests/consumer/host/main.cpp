// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A minimal host: points the router's name at ADDRESS:PORT, syncs the directory once with the
// password from FRITZBOX_PASSWORD and prints the document. Exit 0 when the sync returned true.
#include <cstdlib>
#include <iostream>
#include <string>

#include "FritzBox.h"
#include "LinuxPlatform.h"

int main(int argc, char** argv) {
    const char* password = std::getenv("FRITZBOX_PASSWORD");
    if (argc != 4 || password == nullptr) {
        std::cerr << "usage: FRITZBOX_PASSWORD=... consumer ADDRESS PORT USER\n";
        return 2;
    }
    linux_platform::mapHost("fritz.box", "80", argv[1], argv[2]);
    FritzBox box(argv[3], password);
    std::string token;
    const bool synced = box.sync(Broadsoft::Filters::Personal, token);
    std::cout << box.getData(Broadsoft::Filters::Personal) << '\n';
    return synced ? 0 : 1;
}
