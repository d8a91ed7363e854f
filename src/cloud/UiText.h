// cloud/UiText.h

#pragma once

#include "TavrinStrings.h"

#include <openkelda/KQtUtil.h>

/// The current text of \p id, ready for a widget.
inline QString UiText(const KStringResourceId &id)
{
    return KQtUtil::toQString(TavrinStrings::getString(id));
}
