// ActiveFormsPointer: a form's place on the Application's list of active forms.
#include <vexapi/app/activeformspointer.h>

#include <vexapi/app/application.h>

ActiveFormsPointer::ActiveFormsPointer(VexAPI::WForm* form) : WFPointer(form)
{
    if (Application* app = Application::getApp())
        app->activeForms().pushBack(this);
}

ActiveFormsPointer::~ActiveFormsPointer()
{
    if (isLinked())
        List::remove(List::Iterator(this));
}
