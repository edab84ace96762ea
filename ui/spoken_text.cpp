#include "ui/spoken_text.h"

#include <QRegularExpression>

namespace vistrel {

QString SpokenText(QString shown) {
    static const QRegularExpression kForTheEye(R"(\(&.\)|&|^[\p{S}\p{Pd}\s]+|[\p{S}\p{Pd}\s]+$)");
    return shown.remove(kForTheEye);
}

}  // namespace vistrel
