// openkelda/openkelda.h
//
// Includes the host's API for plug-ins.

#pragma once

#include "openkelda/KArgs.h"
#include "openkelda/KCommandResult.h"
#include "openkelda/KFnPlugin.h"
#include "openkelda/KGlobal.h"
#include "openkelda/KObject.h"
#include "openkelda/KPxCommand.h"
#include "openkelda/KQtUtil.h"
#include "openkelda/KStatus.h"
#include "openkelda/KString.h"
#include "openkelda/KStringArray.h"
#include "openkelda/KStringResource.h"
