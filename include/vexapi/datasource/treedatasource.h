// TreeDataSource: the branch of the source classes whose rows nest, a source inside a
// tObject column of a parent source.
#pragma once

#include <vexapi/datasource/datasource.h>

#include <vexapi/core/api.h>

namespace DataSourceAPI {

// A named branch of the class tree and no more: it adds no data, and every operation is
// DataSource's (the inner-source events of the frame already climb the parent chain).
// Abstract, like DataSource.
class VEXAPI_API TreeDataSource : public virtual DataSource {
};

} // namespace DataSourceAPI
