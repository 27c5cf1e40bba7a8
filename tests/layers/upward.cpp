// Must not compile: a component on the values layer reaching up to the row sources.
#include <vexapi/core/types.h>
#include <vexapi/datasource/memorydatasource.h>

int layerCheckUpward() { return 0; }
