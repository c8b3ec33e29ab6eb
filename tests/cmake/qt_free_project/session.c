int plain_session(void) { return 0; }
