// The name filter and the entity decoder on any text (bytes read through the code page, as
// the loaders read names): no crash, no hang, and the promises both make.

#include "FuzzInput.h"

#include "text/CodePage.h"
#include "text/TextHelpers.h"

#include <QByteArrayView>
#include <QString>

namespace {

bool isNameCharacter(QChar ch) {
    const ushort u = ch.unicode();
    return (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || (u >= '0' && u <= '9') || u == '-' ||
           u == ' ' || u == '_' || u == '\'';
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QString text =
        CodePage::toUnicode(QByteArrayView(reinterpret_cast<const char*>(data), qsizetype(size)));

    const QString clean = CleanName(text);
    for (const QChar ch : clean) {
        if (!isNameCharacter(ch))
            fuzzFailure("CleanName kept a character that is not safe in a file name", clean);
    }
    if (CleanName(clean) != clean)
        fuzzFailure("CleanName is not idempotent", clean);

    const QString decoded = DecodeXmlEntities(text);
    if (decoded.size() > text.size())
        fuzzFailure("DecodeXmlEntities made the text longer", decoded);
    if (decoded.contains(QLatin1String("&amp;")) || decoded.contains(QLatin1String("&apos;")))
        fuzzFailure("DecodeXmlEntities left a reference it decodes", decoded);
    if (DecodeXmlEntities(decoded) != decoded)
        fuzzFailure("DecodeXmlEntities is not idempotent", decoded);
    return 0;
}
