// scene/SceneCommands.h
//
// The commands that work on the scene and its files.

#pragma once

#include "language/Interpreter.h"

class KeldaHost;
class OptionStore;
class Scene;

/// All three must outlive the interpreter's last call.
///
///   file -i PATH | -ea PATH | -es PATH | -new   [-force] [-pr] [-type NAME] [-options ""]
///       imports, exports all or the selection (returns the path read or written), or empties the scene
///   fileTranslator -q -list | -extension NAME | -extensions NAME | -readSupport NAME | -writeSupport NAME
///   select [-add | -all | -clear] NAME...   select -q
///   ls
///   delete [NAME...]     without names: the selection
///   sceneInfo -q -triangles | -vertices | -objects | -textures | -boundingBox
void registerSceneCommands(KeldaHost &host, Scene &scene, OptionStore &options);

/// Returns a function that calls \p function and converts a FileError to a CommandError.
CommandFunction withFileErrors(CommandFunction function);
