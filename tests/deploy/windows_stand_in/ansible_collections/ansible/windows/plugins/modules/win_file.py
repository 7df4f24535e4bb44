import os

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.ansible.windows.plugins.module_utils.stand_in import here


def main():
    module = AnsibleModule({"path": {"type": "str", "required": True},
                            "state": {"type": "str", "choices": ["directory"], "required": True}})
    path = here(module.params["path"])
    changed = not os.path.isdir(path)
    if changed:
        os.makedirs(path)
    module.exit_json(changed=changed)


if __name__ == "__main__":
    main()
