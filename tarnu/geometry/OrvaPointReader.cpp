#include "tarnu/geometry/OrvaPointReader.h"

OrvaPointReader::~OrvaPointReader() = default;
