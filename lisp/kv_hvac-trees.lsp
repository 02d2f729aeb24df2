;;; The application layer's floors and zones: the two trees the designer sorts rooms in, kept in
;;; the project database, and the callbacks of the floor and zone tree dialogs. A tree is a tree
;;; list: ("label" . data) items, each optionally followed by the list of its children; data is
;;; negative for a room (minus its index), positive for a floor or zone.

;; The trees of the session, for a drawing without a project.
(setq tree-hvac-floor nil tree-hvac-zone nil)

;; The project file, whose schema holds the store of trees (tblKvTree); nil without a project.
(defun tree-hvac-table () (projectdb-currentFile))

;; The stored tree called NAME ("floor" or "zone"), or nil.
(defun tree-hvac-load (name / file text)
  (if (and (setq file (tree-hvac-table))
           (setq text (car (kvdb-query file (strcat "SELECT sTree FROM tblKvTree WHERE sName = '" name "'") "sTree"))))
    (read text)))

;; Stores TREE under NAME; without a project it is kept for the session only.
(defun tree-hvac-store (name tree / file)
  (set (read (strcat "tree-hvac-" name)) tree)
  (if (setq file (tree-hvac-table))
    (kvdb-execute file (strcat "INSERT OR REPLACE INTO tblKvTree (sName, sTree) VALUES ('" name "', '"
                               (room-hvac-quote (vl-prin1-to-string tree)) "')")))
  tree)

;; The tree NAME as last stored, from the project when it has one.
(defun tree-hvac-get (name / stored)
  (if (setq stored (tree-hvac-load name)) stored (eval (read (strcat "tree-hvac-" name)))))

;; Whether X is an item ("label" . data) rather than a list of children.
(defun tree-hvac-item-p (x) (and (listp x) (numberp (cdr x))))

;; Every item data of TREE, at every depth.
(defun tree-hvac-allData (tree / out)
  (foreach x tree
    (cond ((tree-hvac-item-p x) (setq out (cons (cdr x) out)))
          ((listp x) (setq out (append (tree-hvac-allData x) out)))))
  out)

;; The next free data of a floor or zone in TREE.
(defun tree-hvac-nextGroup (tree / top)
  (setq top 0)
  (foreach d (tree-hvac-allData tree) (if (> d top) (setq top d)))
  (1+ top))

;; TREE with ITEM added as the last child of its first item (the first floor or zone), or as the
;; only item of an empty tree.
(defun tree-hvac-addUnderFirst (tree item)
  (cond ((null tree) (list item))
        ((and (cadr tree) (listp (cadr tree)) (not (tree-hvac-item-p (cadr tree))))
         (cons (car tree) (cons (append (cadr tree) (list item)) (cddr tree))))
        (T (cons (car tree) (cons (list item) (cdr tree))))))

;; Adds a group (floor or zone) called "<LABEL> <n>" at the end of tree NAME; answers the dialog's
;; (item tree) so that the new group is selected.
(defun tree-hvac-addGroup (name label / tree id)
  (setq tree (tree-hvac-get name)
        id (tree-hvac-nextGroup tree))
  (tree-hvac-store name (append tree (list (cons (strcat label " " (itoa id)) id))))
  (list id (tree-hvac-get name)))

;; Draws a new room by picks and files it under the first group of tree NAME; answers the tree.
(defun tree-hvac-createRoom (name / ix label)
  (setq ix (room-hvac-nextIndex)
        label (strcat "Room " (itoa ix)))
  (if (room-hvac-draw label)
    (tree-hvac-store name (tree-hvac-addUnderFirst (tree-hvac-get name) (cons label (- ix))))
    (tree-hvac-get name)))

;; What the layer cannot do yet: renaming and editing need a text prompt the host lacks.
(defun tree-hvac-notBuilt (what)
  (princ (strcat "\n" what " is not built yet."))
  nil)

(defun kv_hvac-floorTree-saveTree (tree) (tree-hvac-store "floor" tree) nil)
(defun kv_hvac-zoneTree-saveTree (tree) (tree-hvac-store "zone" tree) nil)
(defun kv_hvac-floorTree-createRoom () (tree-hvac-createRoom "floor"))
(defun kv_hvac-zoneTree-createRoom () (tree-hvac-createRoom "zone"))
(defun kv_hvac-floorTree-editFloors (item) (tree-hvac-addGroup "floor" "Floor"))
(defun kv_hvac-zoneTree-editZones (item) (tree-hvac-addGroup "zone" "Zone"))
(defun kv_hvac-floorTree-edit (item) (tree-hvac-notBuilt "Editing a floor tree item"))
(defun kv_hvac-floorTree-rename (item) (tree-hvac-notBuilt "Renaming"))
(defun kv_hvac-floorTree-editRooms (item) (tree-hvac-notBuilt "Editing rooms"))
(defun kv_hvac-zoneTree-edit (item) (tree-hvac-notBuilt "Editing a zone tree item"))
(defun kv_hvac-zoneTree-rename (item) (tree-hvac-notBuilt "Renaming"))
(defun kv_hvac-zoneTree-editRooms (item) (tree-hvac-notBuilt "Editing rooms"))

;; Load Detail for the room or zone of ITEM.
(defun kv_hvac-zoneTree-view (item)
  (if (< item 0)
    (loads-hvac-showRoom (- item))
    (loads-hvac-showZone item)))

;; Commands KV-FLOORTREE and KV-ZONETREE: the stored trees in their dialogs.
(defun c:kv-floorTree () (kv_hvac-floorTree (tree-hvac-get "floor")) (princ))
(defun c:kv-zoneTree () (kv_hvac-zoneTree (tree-hvac-get "zone")) (princ))
