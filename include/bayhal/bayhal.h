/* bayhal: every public header. */
#ifndef BAYHAL_BAYHAL_H
#define BAYHAL_BAYHAL_H
#include "ERR_TRACE.h"
#include "hal_common.h"
#include "Ini_Conf.h"
#include "SE.h"
#include "PD.h"
#include "GPIO.h"
#include "HM.h"
#include "HAL_MB.h"
#include "model_conf.h"
#include "HAL_Conf.h"
#include "Net.h"
#include "POE.h"
#endif
