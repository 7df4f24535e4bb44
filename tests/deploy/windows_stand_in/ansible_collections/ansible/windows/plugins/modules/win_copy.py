# Copies, as the module of Windows does: into the folder that ends with a backslash, which it makes.
import filecmp
import os
import shutil

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.ansible.windows.plugins.module_utils.stand_in import here, note, root_of


def main():
    module = AnsibleModule({"src": {"type": "str", "required": True}, "dest": {"type": "str", "required": True}},
                           supports_check_mode=True)
    source, folder = module.params["src"], here(module.params["dest"])
    if not folder.endswith("/"):
        module.fail_json(msg="only into a folder")
    target = os.path.join(folder, os.path.basename(source))
    changed = not (os.path.exists(target) and filecmp.cmp(source, target, shallow=False))
    if changed and not module.check_mode:
        try:
            if not os.path.isdir(folder):
                os.makedirs(folder)
            shutil.copy(source, target)
        except OSError as error:
            module.fail_json(msg=str(error))
        note(root_of(folder), "copy " + os.path.basename(source))
    module.exit_json(changed=changed)


if __name__ == "__main__":
    main()
