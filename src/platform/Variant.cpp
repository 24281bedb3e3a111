#include <corvid5/Platform.h>

namespace {

// The tags this library's variants carry; anything else is corrupt or from a
// wider automation world we do not model, and clearing it could leak or crash.
bool isKnownType(VARTYPE type) {
  switch (type) {
    case VT_EMPTY:
    case VT_NULL:
    case VT_I2:
    case VT_I4:
    case VT_BSTR:
    case VT_UI2:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
      return true;
    default:
      return false;
  }
}

}  // namespace

void VariantInit(VARIANTARG* variant) {
  variant->vt = VT_EMPTY;
  variant->wReserved1 = 0;
  variant->wReserved2 = 0;
  variant->wReserved3 = 0;
}

HRESULT VariantClear(VARIANTARG* variant) {
  if (variant == nullptr) {
    return E_INVALIDARG;
  }
  if (!isKnownType(variant->vt)) {
    return DISP_E_BADVARTYPE;
  }
  if (variant->vt == VT_BSTR) {
    SysFreeString(variant->bstrVal);
  }
  variant->vt = VT_EMPTY;
  return S_OK;
}
