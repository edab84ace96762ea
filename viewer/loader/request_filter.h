// Keeps the browser on this machine.
#pragma once

#include <QWebEngineUrlRequestInterceptor>

namespace vistrel::loader {

// Blocks every request of a page that goes anywhere else than to local content.
class RequestFilter : public QWebEngineUrlRequestInterceptor {
  public:
    void interceptRequest(QWebEngineUrlRequestInfo& info) override;
};

}  // namespace vistrel::loader
