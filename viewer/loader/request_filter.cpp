#include "viewer/loader/request_filter.h"

#include <QWebEngineUrlRequestInfo>

#include "viewer/loader/address.h"

namespace vistrel::loader {

void RequestFilter::interceptRequest(QWebEngineUrlRequestInfo& info) {
    if (!IsLocal(info.requestUrl())) info.block(true);
}

}  // namespace vistrel::loader
