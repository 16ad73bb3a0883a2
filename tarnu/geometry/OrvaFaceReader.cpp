#include "tarnu/geometry/OrvaFaceReader.h"

OrvaFaceReader::~OrvaFaceReader() = default;
