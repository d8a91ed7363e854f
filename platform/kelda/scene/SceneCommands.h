// scene/SceneCommands.h
//
// The commands of the language that work on the scene and its files: file, fileTranslator, fileOption, select, ls,
// delete, sceneInfo.

#pragma once

#include "language/Interpreter.h"

class KeldaHost;
class OptionStore;
class Scene;

/// All three must outlive the interpreter's last call.
///
///   file -i PATH | -ea PATH | -es PATH | -new   [-force] [-pr] [-type NAME] [-options "key=value;..."]
///       imports, exports all or the selection (answer: the path read or written), or empties the scene
///   fileTranslator -q -list | -extension NAME | -extensions NAME | -readSupport NAME | -writeSupport NAME
///   fileOption ACTION TRANSLATOR -set KEY VALUE | -q KEY
///   select [-add | -toggle | -all | -clear] NAME...   select -q
///   ls [-selection]
///   delete [NAME...]     without names the selection
///   sceneInfo -q -triangles | -faces | -vertices | -objects | -textures | -boundingBox
void registerSceneCommands(KeldaHost &host, Scene &scene, OptionStore &options);

/// \p function, with the FileError by which a file operation refuses turned into the command's failure.
CommandFunction refusing(CommandFunction function);
