// The root of the collection classes.
#pragma once

// A class without data whose only virtual operation is its destructor, so that collections can hold
// objects of any class derived from it. Collections never delete the objects that they hold.
class CObject {
 public:
  CObject() = default;
  CObject(const CObject&) = default;
  CObject& operator=(const CObject&) = default;
  virtual ~CObject();
};
