#include "portals/Portal_Zephal_CloudItem.h"

#include "TavrinHelper.h"

KString Portal_Zephal_ICloudItem::GetDisplayName()
{
    return propertyText("name");
}

KString Portal_Zephal_ICloudItem::GetUniqueID()
{
    return propertyText("uniqueID");
}

bool Portal_Zephal_ICloudItem::IsFolder()
{
    return hasProperty("is_dir");
}

KString Portal_Zephal_ICloudItem::GetImportPathFolder()
{
    QString path;
    for (ICloudItem *ancestor = GetParent(); ancestor; ancestor = ancestor->GetParent()) {
        const QString name = KQtUtil::toQString(ancestor->GetDisplayName());
        path.prepend(QLatin1Char('/') + TavrinHelper::safeLocalName(name));
    }
    return KQtUtil::toKString(path);
}
