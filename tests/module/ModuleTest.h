// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// A module object with its loopback router and tracing captured; the phone model and the host
// mappings are reset afterwards. And the reader of the tables kept as data files.
#include <gtest/gtest.h>

#include <fstream>

#include "LinuxPlatform.h"
#include "LogCapture.h"
#include "ModuleFixture.h"

class ModuleTest : public ::testing::Test {
protected:
    explicit ModuleTest(const std::string& password = "geheim") : router(password), box("admin", password) {}
    void SetUp() override { linux_platform::setPhoneModel(linux_platform::PhoneModel::Other); }
    void TearDown() override {
        linux_platform::setPhoneModel(linux_platform::PhoneModel::Other);
        linux_platform::clearHostMappings();
    }

    testsupport::LogCapture log{6};
    testsupport::ModelRouter router;
    FritzBox box;
    std::string token;
};

using Row = std::vector<std::string>;

// The rows of a data file in tests/module: fields split at tabs, "\xHH" for a byte (rows hold
// control bytes and invalid UTF-8); "#" starts a comment line.
inline std::vector<Row> rowsOf(const std::string& name) {
    std::ifstream file(FRITZBOX_MODULE_TEST_DATA_DIR "/" + name);
    std::vector<Row> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#') {
            continue;
        }
        rows.emplace_back(1);
        for (std::size_t i = 0; i < line.size(); ++i) {
            if (line[i] == '\t') {
                rows.back().emplace_back();
            } else if (line.compare(i, 2, "\\x") == 0) {
                rows.back().back() += static_cast<char>(std::stoi(line.substr(i + 2, 2), nullptr, 16)), i += 3;
            } else {
                rows.back().back() += line[i];
            }
        }
    }
    EXPECT_FALSE(rows.empty()) << name;
    return rows;
}
