// velkan pdu decode|encode (being built)
#include "cli/verbs.h"

int RunPduVerb(int, char**) { return UsageError("pdu", "the pdu verb is not built yet"); }
