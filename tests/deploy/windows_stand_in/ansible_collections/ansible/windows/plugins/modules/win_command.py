# Runs the programs that were copied to the stand-in, natively on its registry; "reg.exe export" copies that registry.
import os
import shutil

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.ansible.windows.plugins.module_utils.stand_in import here, note, root_of, scripted


def export(module, key, file, view):
    if view != "/reg:64" or not key.startswith("HKLM\\SOFTWARE\\"):
        module.fail_json(msg="not the 64-bit view: " + key)
    if os.path.exists(here(file)):
        module.fail_json(msg="reg.exe would ask whether to overwrite, and wait for ever")
    shutil.copy(os.path.join(root_of(file), "registry.reg"), here(file))
    return 0, "", ""


def main():
    module = AnsibleModule({"argv": {"type": "list", "elements": "str", "required": True},
                            "output_encoding_override": {"type": "str"}}, supports_check_mode=True)
    argv = module.params["argv"]
    name = argv[0].split("\\")[-1]
    root = root_of(argv[3] if name == "reg.exe" else argv[0])
    note(root, " ".join([name] + argv[1:]))
    status = scripted(root, name)
    if module.check_mode:
        module.exit_json(changed=True, skipped=True)
    if status is not None:
        rc, out, err = status, "", ""
    elif name == "reg.exe":
        rc, out, err = export(module, *argv[2:])
    else:
        inputs = [root] if name == "zum_rehearse.exe" else []
        rc, out, err = module.run_command([here(argv[0])] + [here(word) if "\\" in word else word for word in argv[1:]]
                                          + inputs, environ_update={"ZUM_HOST_ROOT": root})
    result = {"changed": True, "rc": rc, "stdout": out, "stderr": err}
    if rc != 0:
        module.fail_json(msg="non-zero return code", **result)
    module.exit_json(**result)


if __name__ == "__main__":
    main()
