// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once

namespace Broadsoft {
namespace Filters {

// The data sets that the Broadsoft service can show, each selected by its number.
enum FilterTypes {
    CallLogs = 0,
    Enterprise = 1,
    EnterpriseCommon = 2,
    Group = 3,
    GroupCommon = 4,
    Personal = 5,
    CustomContacts = 6,
    Favourites = 7
};

}  // namespace Filters
}  // namespace Broadsoft
