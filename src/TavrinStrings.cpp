#include "TavrinStrings.h"

#include <openkelda/KQtUtil.h>

#include <vector>

namespace TavrinStrings {

namespace {

/// A function-local static object, because other files create identifiers before the static objects of this file.
std::vector<const KStringResourceId *> &identifiers()
{
    static std::vector<const KStringResourceId *> all;
    return all;
}

} // namespace

Id::Id(const char *key, const char *defaultText) : KStringResourceId("Tavrin", key, defaultText)
{
    identifiers().push_back(this);
}

KStatus registerKStringResources()
{
    for (const KStringResourceId *id : identifiers())
        KStringResource::registerString(*id);
    return KStatus();
}

KString getString(const KStringResourceId &id)
{
    KStatus status;
    return KStringResource::getString(id, status);
}

QString text(const KStringResourceId &id)
{
    return KQtUtil::toQString(getString(id));
}

} // namespace TavrinStrings
