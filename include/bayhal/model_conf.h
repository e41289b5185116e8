/* bayhal model description set-up.
 *
 * "/etc/model.conf" is the live description of the appliance's hardware. A board family
 * ships several candidates ("/etc/model_%d.conf"); se_sys_setup_model_conf, called once at
 * start-up, makes "/etc/model.conf" a symbolic link to the one that fits the board, then
 * corrects it to the hardware actually fitted.
 */
#ifndef BAYHAL_MODEL_CONF_H
#define BAYHAL_MODEL_CONF_H

#ifdef __cplusplus
extern "C" {
#endif

/* Returns 0 on success, -1 on failure. `message` is optional: when the backplane cannot be
   identified it receives the fixed text "device identification data is not available."
   (static storage, not to be freed) and the call still succeeds; otherwise it is left as
   it was. */
int se_sys_setup_model_conf(const char **message);

#ifdef __cplusplus
}
#endif

#endif
