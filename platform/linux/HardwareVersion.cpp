// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// The phone model of the Linux platform: chosen by the tool or test that stands in for the phone.
#include "HardwareVersion.h"

#include <cstdlib>

#include "AsciiText.h"
#include "EnvironmentSetting.h"
#include "LinuxPlatform.h"

namespace {

int modelFromEnvironment() {
    const char* text = std::getenv("FRITZBOX_PHONE_MODEL");
    linux_platform::PhoneModel model = linux_platform::PhoneModel::Other;
    if (text == nullptr || !linux_platform::parsePhoneModel(text, model)) {
        model = linux_platform::PhoneModel::Other;
    }
    return static_cast<int>(model);
}

linux_platform::detail::EnvironmentSetting g_phoneModel{modelFromEnvironment, -1};

}  // namespace

namespace linux_platform {

void setPhoneModel(PhoneModel model) {
    g_phoneModel.set(static_cast<int>(model));
}

void resetPhoneModel() {
    g_phoneModel.reset();
}

PhoneModel phoneModel() {
    return static_cast<PhoneModel>(g_phoneModel.get());
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
