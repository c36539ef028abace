// The root of the collection classes.
#include "collections/object.h"

CObject::~CObject() = default;
