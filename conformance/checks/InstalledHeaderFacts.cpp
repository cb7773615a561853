// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// The facts of the installed platform headers, with which the module was built.
#define HEADER_FACTS_FUNCTION installedHeaderFacts
#include "HeaderFacts.inc"
