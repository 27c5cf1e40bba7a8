// Must not compile: a component above the client layer reaching one of its internal
// headers, while its public ones are visible.
#include <vexapi/orvcpp/orvconnect.h>
#include <vexapi/orvcpp/session.h>

int layerCheckInternal() { return 0; }
