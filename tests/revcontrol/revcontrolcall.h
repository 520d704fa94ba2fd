// One operation of a revision control back end written as a line of text, so that the cases of a
// back end fit in a table: "OpenForEdit a.sgm 42", "OpenForAddList a.tqp,b.tqp 8",
// "Rename old.sgm new.sgm 9", "Revert a.sgm 2 1", "CreateChangelist SGM Export Changes".
#pragma once

#include "revcontrol/revcontrolapi.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

// The result as a number (bool, status or result code); operations that hand out a changelist
// number write it to `number`.
inline int CallRevControl(RevControlAPI& rc, const std::string& call, int& number)
{
    std::istringstream in(call);
    std::string op, a, b;
    int n = 0;
    int flag = 0;
    in >> op;
    if (op.find("Changelist") != std::string::npos && op != "DeleteChangelist" && op != "RevertChangelist")
    {
        std::string description = call.substr(op.size() + 1);
        if (op == "CreateChangelist")
            return rc.CreateChangelist(description.c_str(), number);
        if (op == "FindChangelist")
            return rc.FindChangelist(description.c_str(), number);
        if (op == "FindOrCreateChangelist")
            return rc.FindOrCreateChangelist(description.c_str(), number);
        return rc.GetOpenedChangelist(description.c_str(), number);
    }
    if (op == "DeleteChangelist" || op == "RevertChangelist")
    {
        in >> n >> flag;
        return op == "DeleteChangelist" ? rc.DeleteChangelist(n) : rc.RevertChangelist(n, flag != 0);
    }
    in >> a;
    if (op == "Integrate" || op == "Rename")
    {
        in >> b >> n;
        return op == "Integrate" ? rc.Integrate(a.c_str(), b.c_str(), n) : rc.Rename(a.c_str(), b.c_str(), n);
    }
    in >> n >> flag;
    if (op.size() > 4 && op.compare(op.size() - 4, 4, "List") == 0)
    {
        RevControlAPI::FileList files;
        std::istringstream names(a);
        for (std::string name; std::getline(names, name, ',');)
            files.push_back(name);
        return op == "OpenForEditList" ? rc.OpenForEdit(files, n) : rc.OpenForAdd(files, n);
    }
    const char* file = a.c_str();
    if (op == "OpenForEdit")
        return rc.OpenForEdit(file, n);
    if (op == "OpenForAdd")
        return rc.OpenForAdd(file, n);
    if (op == "OpenForDelete")
        return rc.OpenForDelete(file, n);
    if (op == "GetFileStatus")
        return rc.GetFileStatus(file);
    if (op == "IsOpenedIn")
        return rc.IsOpenedIn(file, n);
    if (op == "Revert")
        return rc.Revert(file, n, flag != 0);
    if (op == "Sync")
        return rc.Sync(file, n);
    if (op == "OpenOrAdd")
        return rc.OpenOrAdd(file, n);
    ADD_FAILURE() << "unknown operation: " << call;
    return -1;
}
