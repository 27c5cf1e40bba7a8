// WFPointer and ActiveFormsPointer: the nodes that put each live form on the
// Application's list of active forms.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/list.h>

namespace VexAPI { class WForm; }

// A list node that carries a form.
class VEXAPI_API WFPointer : public List::Node {
public:
    explicit WFPointer(VexAPI::WForm* form = nullptr) : form(form) {}

    VexAPI::WForm* form;
};

// Each form holds one for its lifetime: the constructor appends it to the current
// Application's list of active forms (it stays unlinked when there is no application),
// and the destructor takes it off, so that every live form is on the list.
class VEXAPI_API ActiveFormsPointer : public WFPointer {
public:
    explicit ActiveFormsPointer(VexAPI::WForm* form);
    ~ActiveFormsPointer();
    ActiveFormsPointer(const ActiveFormsPointer&) = delete;
    ActiveFormsPointer& operator=(const ActiveFormsPointer&) = delete;
};
