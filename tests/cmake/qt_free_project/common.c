int plain_common(void) { return 0; }
