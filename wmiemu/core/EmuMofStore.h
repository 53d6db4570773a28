// EmuMofStore.h - storing the declarations of a parsed MOF file in the repository, in file order,
// as WMI's compiler does: classes through PutClass, instances through PutInstance ("$alias"
// references become the object path of the aliased instance), "#pragma deleteclass" through
// DeleteClass.
#pragma once

#include "EmuRepository.h"
#include "MofCompiler.h"

namespace wmiemu
{

// On failure returns the HRESULT and the 0-based index of the declaration that failed; the
// repository may then hold part of the file (callers work on a copy).
HRESULT StoreDeclarations(Repository& repo, const std::vector<mofc::Declaration>& decls, long lClassFlags,
                          long lInstanceFlags, size_t& nFailed);

} // namespace wmiemu
