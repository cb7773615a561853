// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// FRITZBOX_XSI_EXPORT marks what the module's shared library exports: its two classes, FritzBox
// and BroadsoftServiceHelper, with their members, typeinfo and vtable. The library is built with
// hidden visibility and a linker version script (cmake/fritzbox-xsi-module.map), so nothing else
// reaches the dynamic symbol table. On the host's side the attribute changes nothing: the same
// macro serves the library's build and the programs that include these headers.
#if defined(__GNUC__)
#define FRITZBOX_XSI_EXPORT __attribute__((visibility("default")))
#else
#define FRITZBOX_XSI_EXPORT
#endif
