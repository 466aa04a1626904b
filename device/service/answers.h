// SPDX-License-Identifier: Apache-2.0
//
// answers.h: what follows from the facts of an interface and of those around it. Pure: looks at the
// model's facts and never at what was answered before.
#ifndef VARN_DEVICE_ANSWERS_H
#define VARN_DEVICE_ANSWERS_H

#include "device_model.h"

namespace device
{

attributes work_out(const device_model &model, const interface &entry);

} // namespace device

#endif
