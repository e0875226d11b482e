// SPDX-License-Identifier: MIT
// Any bytes are a form or the problem with it: a line with its Content-Type, then the body. Its files stay below the form, and
// all of them are in the archive that they make.
#include "platform/archive/NSPropertyList.h"
#include "tools/zrpdf-serve/FormData.h"
#include "tools/zrpdf-serve/Problem.h"

#include <cstdlib>

using namespace zr;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    const QByteArray data(reinterpret_cast<const char *>(bytes), qsizetype(size));
    const qsizetype line = data.indexOf('\n');
    if (line < 0)
        return 0;
    try {
        const FormData form = FormData::read(data.left(line), data.mid(line + 1));
        for (const FormData::File &file : form.files)
            for (const QString &step : file.name.split(u'/'))
                if (step.isEmpty() || step == u"." || step == u"..")
                    std::abort();
        if (form.files.isEmpty())
            return 0;
        const QVariantMap archive = NSPropertyList::propertyListFromData(form.archive()).toMap();
        if (!archive.contains(QStringLiteral("WebMainResource")) ||
            archive.value(QStringLiteral("WebSubresources")).toList().size() + 1 != form.files.size())
            std::abort();
    } catch (const Problem &) {
    }
    return 0;
}
