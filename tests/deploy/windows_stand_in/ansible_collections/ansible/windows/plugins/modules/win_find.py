import os

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.ansible.windows.plugins.module_utils.stand_in import here


def main():
    module = AnsibleModule({"paths": {"type": "list", "elements": "str", "required": True}})
    folders = [here(path) for path in module.params["paths"]]
    module.exit_json(changed=False, files=[{"path": os.path.join(folder, name)}
                                           for folder in folders for name in sorted(os.listdir(folder))])


if __name__ == "__main__":
    main()
