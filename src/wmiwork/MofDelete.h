// The /DD /MOF job: undoes what compiling a MOF file put into WMI. The dispatcher scans the
// file and runs the three steps in this order, each only when the one before returned true.
// Namespaces are never deleted by this job.
#pragma once

#include <string>

class CMofParse;

// "namespace:path" as it stands inside a quoted object path value (the alias map's entries):
// backslashes doubled, double quotes escaped.
std::string AliasPathEscaped(const std::string& strNamespace, const std::string& strPath);

// Deletes the static instances the file creates, in file order; false when a class's
// properties cannot be read or an instance's object path cannot be built.
bool DoDeleteInstances(CMofParse& mp);
// Deletes the classes the file defines, except the system classes; always true.
bool DoDeleteNonSystemClasses(CMofParse& mp);
// Removes every entry with the MOF file's name from the WMI autorecover list; false when the
// list cannot be read.
bool DoDeleteFromAutoRecoverList(const char* szMofPath);
