# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

include $(sort $(wildcard $(BR2_EXTERNAL_FRITZBOX_XSI_PATH)/package/*/*.mk))
