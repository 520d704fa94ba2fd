// One operation of a revision control back end as a line of text, so that the cases of a back end fit
// in a table: "OpenForEdit a.sgm 42", "OpenForAddList a.tqp,b.tqp 8", "Revert a.sgm 2 1", "CreateChangelist SGM".
#pragma once
#include "revcontrol/revcontrolapi.h"
#include <gtest/gtest.h>
#include <sstream>

// The result as a number (bool, status or result code); operations that hand out a changelist
// number write it to `number`.
inline int CallRevControl(RevControlAPI& rc, const std::string& call, int& number)
{
    std::istringstream in(call);
    std::string op, a, b;
    int n = 0, flag = 0;
    in >> op;
    const char* d = call.c_str() + op.size() + 1;
    if (op == "CreateChangelist" || op == "FindChangelist")
        return op == "CreateChangelist" ? rc.CreateChangelist(d, number) : rc.FindChangelist(d, number);
    if (op == "FindOrCreateChangelist" || op == "GetOpenedChangelist")
        return op == "FindOrCreateChangelist" ? rc.FindOrCreateChangelist(d, number) : rc.GetOpenedChangelist(d, number);
    if (op == "DeleteChangelist" || op == "RevertChangelist")
        return in >> n >> flag, op == "DeleteChangelist" ? rc.DeleteChangelist(n) : rc.RevertChangelist(n, flag != 0);
    in >> a;
    if (op == "Integrate" || op == "Rename")
        return in >> b >> n, op == "Integrate" ? rc.Integrate(a.c_str(), b.c_str(), n) : rc.Rename(a.c_str(), b.c_str(), n);
    in >> n >> flag;
    RevControlAPI::FileList files;
    std::istringstream names(a);
    for (std::string name; std::getline(names, name, ',');)
        files.push_back(name);
    const char* file = a.c_str();
    if (op == "OpenForEditList" || op == "OpenForAddList")
        return op == "OpenForEditList" ? rc.OpenForEdit(files, n) : rc.OpenForAdd(files, n);
    if (op == "OpenForEdit" || op == "OpenForAdd" || op == "OpenForDelete")
        return op == "OpenForEdit" ? rc.OpenForEdit(file, n) : op == "OpenForAdd" ? rc.OpenForAdd(file, n) : rc.OpenForDelete(file, n);
    if (op == "GetFileStatus" || op == "IsOpenedIn")
        return op == "GetFileStatus" ? rc.GetFileStatus(file) : rc.IsOpenedIn(file, n);
    if (op == "Revert" || op == "Sync" || op == "OpenOrAdd")
        return op == "Revert" ? rc.Revert(file, n, flag != 0) : op == "Sync" ? rc.Sync(file, n) : rc.OpenOrAdd(file, n);
    ADD_FAILURE() << "unknown operation: " << call;
    return -1;
}
