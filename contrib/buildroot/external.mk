include $(sort $(wildcard $(BR2_EXTERNAL_FRITZBOX_XSI_PATH)/package/*/*.mk))
