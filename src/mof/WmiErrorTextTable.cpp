// The program's own table of WMI error codes with their published descriptions. It is
// consulted only when the system's message tables have no text for a code.
//
// The order is ascending and must stay as it is: the lookup takes the first row that
// matches, so the second 0x8004107A row (the put-operation text) is never reached, and
// 0x8004107B has no row on purpose.
#include "WmiErrorText.h"

#define WMI_XP_2003 "Windows Server 2003 and Windows XP:  "

const WMIERRORROW gg_aWmiErrorTable[] = {
    {0x80041001, "The call failed."},
    {0x80041002, "The object could not be found."},
    {0x80041003, "The current user does not have permission to perform the action."},
    {0x80041004, "The provider has failed at some time other than during initialization."},
    {0x80041005, "A type mismatch occurred."},
    {0x80041006, "There was not enough memory for the operation."},
    {0x80041007, "The IWbemContext object is not valid."},
    {0x80041008, "One of the parameters to the call is not correct"},
    {0x80041009, "The resource, typically a remote server, is not currently available."},
    {0x8004100A, "An internal, critical, and unexpected error occurred. Report this error to Microsoft "
                 "Technical Support."},
    {0x8004100B, "One or more network packets were corrupted during a remote session."},
    {0x8004100C, "The feature or operation is not supported."},
    {0x8004100D, "The parent class specified is not valid."},
    {0x8004100E, "The namespace specified could not be found"},
    {0x8004100F, "The specified instance is not valid."},
    {0x80041010, "The specified class is not valid"},
    {0x80041011, "A provider referenced in the schema does not have a corresponding registration."},
    {0x80041012,
     "A provider referenced in the schema has an incorrect or incomplete registration. This error "
     "may be caused by a missing pragma namespace command in the MOF file used to register the "
     "provider, resulting in the provider being registered in the wrong WMI namespace. This error "
     "may also be caused by a corrupt repository, which may be fixed by deleting it and "
     "recompiling the MOF files."},
    {0x80041013,
     "COM cannot locate a provider referenced in the schema. This error may be caused by any of the "
     "following:\n"
     "The provider is using a WMI DLL that does not match the .lib fileused when the provider was "
     "built.\n"
     "The provider's DLL or any of the DLLs on which it depends is corrupt.\n"
     "The provider failed to export DllRegisterServer.\n"
     "An in-process provider was not registered using /regsvr32.\n"
     "An out-of-process provider was not registered using /regserver."},
    {0x80041014, "A component, such as a provider, failed to initialize for internal reasons."},
    {0x80041015, "A networking error occurred, preventing normal operation."},
    {0x80041016, "The requested operation is not valid. This error usually applies to invalid attempts to "
                 "delete classes or properties."},
    // Repeats the text of the row above, as published.
    {0x80041017, "The requested operation is not valid. This error usually applies to invalid attempts to "
                 "delete classes or properties."},
    {0x80041018, "The requested query language is not supported."},
    {0x80041019, "In a put operation, the wbemChangeFlagCreateOnly flag was specified, but the instance "
                 "already exists."},
    {0x8004101A,
     "It is not possible to perform the add operation on this qualifier because the owning object "
     "does not permit overrides."},
    {0x8004101B, "The user attempted to delete a qualifier that was not owned. The qualifier was inherited "
                 "from a parent class."},
    {0x8004101C,
     "The user attempted to delete a property that was not owned. The property was inherited from "
     "a parent class."},
    {0x8004101D,
     "The client made an unexpected and illegal sequence of calls, such as calling EndEnumeration "
     "before calling BeginEnumeration."},
    {0x8004101E, "The user requested an illegal operation, such as spawning a class from an instance."},
    {0x8004101F,
     "There was an illegal attempt to specify a key qualifier on a property that cannot be a key. "
     "The keys are specified in the class definition for an object, and cannot be altered on a "
     "per-instance basis."},
    {0x80041020, "The current object is not a valid class definition. Either it is incomplete, or it has not "
                 "been registered with WMI using SWbemObject.Put_."},
    {0x80041021, "The query was not syntactically valid."},
    {0x80041022, "Reserved for future use."},
    {0x80041023, "An attempt was made to modify a read-only property."},
    {0x80041024,
     "The provider cannot perform the requested operation. This would include a query that is too "
     "complex, retrieving an instance, creating or updating a class, deleting a class, or "
     "enumerating a class."},
    {0x80041025, "An attempt was made to make a change that would invalidate a subclass."},
    {0x80041026, "An attempt has been made to delete or modify a class that has instances."},
    {0x80041027, "Reserved for future use."},
    {0x80041028, "A value of NULL was specified for a property that may not be NULL, such as one that is "
                 "marked by a Key, Indexed, or Not_Null qualifier."},
    {0x80041029, "The CIM type specified for a property is not valid."},
    {0x8004102A, "The CIM type specified for a property is not valid."},
    {0x8004102B, "The request was made with an out-of-range value, or is incompatible with the type."},
    {0x8004102C, "An illegal attempt was made to make a class singleton, such as when the class is derived "
                 "from a non-singleton class."},
    {0x8004102D, "The CIM type specified is not valid."},
    {0x8004102E, "The requested method is not available."},
    {0x8004102F, "The parameters provided for the method are not valid."},
    {0x80041030, "There was an attempt to get qualifiers on a system property."},
    {0x80041031, "The property type is not recognized."},
    {0x80041032, "An asynchronous process has been canceled internally or by the user. Note that due to the "
                 "timing and nature of the asynchronous operation the operation may not have been truly "
                 "canceled."},
    {0x80041033, "The user has requested an operation while WMI is in the process of shutting down."},
    {0x80041034,
     "An attempt was made to reuse an existing method name from a parent class, and the signatures "
     "did not match."},
    {0x80041035, "One or more parameter values, such as a query text, is too complex or unsupported. WMI is "
                 "therefore requested to retry the operation with simpler parameters."},
    {0x80041036, "A parameter was missing from the method call."},
    {0x80041037, "A method parameter has an ID qualifier that is not valid."},
    {0x80041038, "One or more of the method parameters have ID qualifiers that are out of sequence."},
    {0x80041039, "The return value for a method has an ID qualifier."},
    {0x8004103A, "The specified object path was not valid."},
    {0x8004103B, "Windows XP/2000/NT:  Disk is out of space.\n"
                 "Windows Server 2003:  Disk is out of space or the 4 GB limit on WMI repository (CIM "
                 "repository) size is reached."},
    {0x8004103C, "The supplied buffer was too small to hold all the objects in the enumerator or to read a "
                 "string property."},
    {0x8004103D, "The provider does not support the requested put operation."},
    {0x8004103E, "An object with an incorrect type or version was encountered during marshaling."},
    {0x8004103F, "A packet with an incorrect type or version was encountered during marshaling."},
    {0x80041040, "The packet has an unsupported version."},
    {0x80041041, "The packet appears to be corrupted."},
    {0x80041042,
     "An attempt has been made to mismatch qualifiers, such as putting [key] on an object instead "
     "of a property."},
    {0x80041043, "A duplicate parameter has been declared in a CIM method."},
    {0x80041044, "Reserved for future use."},
    {0x80041045, "A call to IWbemObjectSink::Indicate has failed. The provider may choose to refire the "
                 "event."},
    {0x80041046, "The specified flavor was not valid."},
    {0x80041047, "An attempt has been made to create a reference that is circular (for example, deriving a "
                 "class from itself)."},
    {0x80041048, "The specified class is not supported."},
    {0x80041049,
     "An attempt was made to change a key when instances or subclasses are already using the key."},
    {0x80041050, "An attempt was made to change an index when instances or subclasses are already using the "
                 "index."},
    {0x80041051, "An attempt was made to create more properties than the current version of the class "
                 "supports."},
    {0x80041052, "A property was redefined with a conflicting type in a derived class."},
    {0x80041053, "An attempt was made in a derived class to override a non-overridable qualifier."},
    {0x80041054, "A method was redeclared with a conflicting signature in a derived class."},
    {0x80041055,
     "An attempt was made to execute a method not marked with [implemented] in any relevant class."},
    {0x80041056, "An attempt was made to execute a method marked with [disabled]."},
    {0x80041057, "The refresher is busy with another operation."},
    {0x80041058, "The filtering query is syntactically not valid."},
    {0x80041059, "The FROM clause of a filtering query references a class that is not an event class (not "
                 "derived from __Event)."},
    {0x8004105A, "A GROUP BY clause was used without the corresponding GROUP WITHIN clause."},
    {0x8004105B, "A GROUP BY clause was used. Aggregation on all properties is not supported."},
    {0x8004105C, "Dot notation was used on a property that is not an embedded object."},
    {0x8004105D, "A GROUP BY clause references a property that is an embedded object without using dot "
                 "notation."},
    {0x8004105F, "An event provider registration query (__EventProviderRegistration) did not specify the "
                 "classes for which events were provided."},
    {0x80041060, "An request was made to back up or restore the repository while WMI was using it."},
    {0x80041061, "The asynchronous delivery queue overflowed due to the event consumer being too slow."},
    {0x80041062, "The operation failed because the client did not have the necessary security privilege."},
    {0x80041063, "The operator is not valid for this property type."},
    {0x80041064, "The user specified a username, password or authority for a local connection. The user must "
                 "use a blank username/password and rely on default security."},
    {0x80041065, "The class was made abstract when its parent class is not abstract."},
    {0x80041066, "An amended object was put without the WBEM_FLAG_USE_AMENDED_QUALIFIERS flag being "
                 "specified."},
    {0x80041067, WMI_XP_2003 "The client was not retrieving objects quickly enough from an enumeration. This "
                             "constant is returned when a client creates an enumeration object but does not "
                             "retrieve objects from the enumerator in a timely fashion, causing the "
                             "enumerator's object caches to get backed up."},
    {0x80041068, WMI_XP_2003 "A null security descriptor was used."},
    {0x80041069, WMI_XP_2003 "The operation timed out."},
    {0x8004106A, WMI_XP_2003 "The association being used is not valid."},
    {0x8004106B, WMI_XP_2003 "The operation was ambiguous."},
    {0x8004106C, WMI_XP_2003 "WMI is taking up too much memory. This could be caused either by low memory "
                             "availability or excessive memory consumption by WMI."},
    {0x8004106D, WMI_XP_2003 "The operation resulted in a transaction conflict."},
    {0x8004106E, WMI_XP_2003 "The transaction forced a rollback."},
    {0x8004106F, WMI_XP_2003 "The locale used in the call is not supported."},
    {0x80041070, WMI_XP_2003 "The object handle is out of date."},
    {0x80041071, WMI_XP_2003 "Indicates that the connection to the SQL database failed."},
    {0x80041072, WMI_XP_2003 "The handle request was not valid."},
    {0x80041073, WMI_XP_2003 "The property name contains more than 255 characters."},
    {0x80041074, WMI_XP_2003 "The class name contains more than 255 characters."},
    {0x80041075, WMI_XP_2003 "The method name contains more than 255 characters."},
    {0x80041076, WMI_XP_2003 "The qualifier name contains more than 255 characters."},
    {0x80041077, WMI_XP_2003 "Indicates that an SQL command should be rerun because there is a deadlock in "
                             "SQL. This can be returned only when data is being stored in an SQL database."},
    {0x80041078, WMI_XP_2003 "The database version does not match the version that the repository driver "
                             "processes."},
    {0x8004107A, WMI_XP_2003 "WMI cannot do the delete operation because the provider does not allow it."},
    // Never reached: the row above answers for 0x8004107A.
    {0x8004107A, WMI_XP_2003 "WMI cannot do the put operation because the provider does not allow it."},
    {0x80041080, WMI_XP_2003 "The specified locale identifier was not valid for the operation."},
    {0x80041081, WMI_XP_2003 "The provider is suspended."},
    {0x80041082,
     WMI_XP_2003 "The object must be committed and retrieved again before the requested operation "
                 "can succeed. This constant is returned when an object must be committed and "
                 "re-retrieved to see the property value."},
    {0x80041083, WMI_XP_2003 "The operation cannot be completed because no schema is available."},
    {0x80041084, WMI_XP_2003 "The provider registration cannot be done because the provider is already "
                             "registered."},
    {0x80041085, WMI_XP_2003 "The provider for the requested data is not registered."},
    {0x80041086, WMI_XP_2003 "A fatal transport error occurred and other transport will not be attempted."},
    {0x80041087, WMI_XP_2003 "The client connection to WINMGMT must be encrypted for this operation. The "
                             "IWbemServices proxy security settings should be adjusted and the operation "
                             "retried."},
    {0x80041088, WMI_XP_2003 "A provider failed to report results within the specified timeout."},
    {0x80041089, WMI_XP_2003 "User attempted to put an instance with no defined key.\n"},
    {0x8004108A, WMI_XP_2003 "User attempted to register a provider instance but the COM server for the "
                             "provider instance was unloaded."},
    {0x80042001, WMI_XP_2003 "The provider registration overlaps with the system event domain."},
    {0x80042002, WMI_XP_2003 "A WITHIN clause was not used in this query."},
    {0x80043001, WMI_XP_2003 "Reserved for future use."},
    {0x80043002, WMI_XP_2003 "Reserved for future use."},
    {0, nullptr},
};

const unsigned gg_nWmiErrorRows = sizeof(gg_aWmiErrorTable) / sizeof(gg_aWmiErrorTable[0]) - 1;

const WMIERRORROW* const gg_apWmiErrorTables[] = {gg_aWmiErrorTable, nullptr};
