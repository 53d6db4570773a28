// CDelFromWmi: the job /DD /INI. It reads from the INI file the namespaces to work in and
// the instances, classes and namespaces to delete, and deletes them.
//
// Sections: [Namespaces] (the namespaces, default root\VT_Eventing), [DeleteInstancesByRef]
// (class=reference property: the referenced objects go), [DeleteInstances] (object paths or
// class names), [DeleteClasses] (class names), [DeleteNamespace] (namespace paths). Keys are
// taken in file order; empty values are skipped.
#pragma once

#include "WMIHelper.h"

#include <string>
#include <vector>

class CDelFromWmi : public CWMIHelper
{
public:
    CDelFromWmi();

    // Fills the list from [Namespaces]; its first entry becomes the current namespace.
    void ReadNamespaces();
    // Moves to the next namespace of the list; false (position -1) when the list is used up.
    bool NextNamespace();
    const char* CurrentNamespace() const { return m_strNamespace.c_str(); }
    int Position() const { return m_nPosition; }

    // These three work on the connection to the current namespace; false without one.
    bool RemoveInstancesByRef();
    bool RemoveInstances();
    bool RemoveClasses();
    // Deletes the namespaces of [DeleteNamespace] in key order; returns 1.
    int RemoveNamespaces(bool bForce);

private:
    // Enter and Leave of RemoveInstancesByRef, RemoveInstances and RemoveClasses around
    // fnValue(function name, key, value) for each non-empty value of the section; false
    // without a connection or when a name could not be converted.
    template <class Fn> bool WorkOnSection(const char* szMethod, const char* szSection, Fn fnValue);
    // For every instance of szClass (subclasses included, as WMI enumerates them) deletes the
    // object whose path the property szProperty holds: "__RELPATH" for the instance itself,
    // a reference property for the object it refers to. Nothing is traced under szCaller
    // but a failed name conversion, which raises E_OUTOFMEMORY.
    void DeleteByProperty(const char* szClass, const char* szProperty, const char* szCaller);

    // The namespace the instance and class sections work in; a string, so that a long
    // [Namespaces] value cannot overrun it.
    std::string m_strNamespace;
    std::vector<std::string> m_namespaces;
    int m_nPosition;
};
