// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The login of the bundled sample router data (data/sample-router): the router simulator's
// default credentials, and the ones the demo logs in with.

namespace tools {

constexpr const char* kSampleRouterUser = "admin";
constexpr const char* kSampleRouterPassword = "geheim";

}  // namespace tools
