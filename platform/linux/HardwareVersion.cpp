// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// The phone model of the Linux platform: chosen by the tool or test that stands in for the phone.
#include "HardwareVersion.h"

#include <atomic>
#include <cstdlib>

#include "AsciiText.h"
#include "LinuxPlatform.h"

namespace {

constexpr int kModelNotSet = -1;

std::atomic<int> g_phoneModel{kModelNotSet};

linux_platform::PhoneModel modelFromEnvironment() {
    const char* text = std::getenv("FRITZBOX_PHONE_MODEL");
    linux_platform::PhoneModel model = linux_platform::PhoneModel::Other;
    if (text == nullptr || !linux_platform::parsePhoneModel(text, model)) {
        return linux_platform::PhoneModel::Other;
    }
    return model;
}

}  // namespace

namespace linux_platform {

void setPhoneModel(PhoneModel model) {
    g_phoneModel = static_cast<int>(model);
}

void resetPhoneModel() {
    g_phoneModel = kModelNotSet;
}

PhoneModel phoneModel() {
    int model = g_phoneModel.load();
    if (model == kModelNotSet) {
        int expected = kModelNotSet;
        g_phoneModel.compare_exchange_strong(expected, static_cast<int>(modelFromEnvironment()));
        model = g_phoneModel.load();
    }
    return static_cast<PhoneModel>(model);
}

bool parsePhoneModel(const std::string& text, PhoneModel& model) {
    static const struct {
        const char* name;
        PhoneModel model;
    } kModels[] = {{"tern", PhoneModel::Tern},
                   {"gull", PhoneModel::Gull},
                   {"wren", PhoneModel::Wren},
                   {"other", PhoneModel::Other}};
    for (const auto& entry : kModels) {
        if (detail::equalsIgnoreCase(text, entry.name)) {
            model = entry.model;
            return true;
        }
    }
    return false;
}

}  // namespace linux_platform

bool HardwareVersion::is_Tern() {
    return linux_platform::phoneModel() == linux_platform::PhoneModel::Tern;
}

bool HardwareVersion::is_Gull_any() {
    return linux_platform::phoneModel() == linux_platform::PhoneModel::Gull;
}

bool HardwareVersion::is_Wren_any() {
    return linux_platform::phoneModel() == linux_platform::PhoneModel::Wren;
}
