// Compiles: the values layer may use core's public headers and its own.
#include <vexapi/core/wcharstring.h>
#include <vexapi/values/orvdec.h>

int layerCheckDownward() { return sizeof(OrvCPP::OrvDec) > 0; }
